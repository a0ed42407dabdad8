#include "common/TrackedItems.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace kelpie::filemanagers {
namespace {

class TrackedItemsTest : public testing::Test {
 protected:
  std::set<TrackedItems::Token> takeAll() {
    std::set<TrackedItems::Token> all;
    while (const auto* token = items.takeChanged()) all.insert(token);
    return all;
  }

  std::array<char, 4> objects{};
  TrackedItems::Token a = &objects[0];
  TrackedItems::Token b = &objects[1];
  TrackedItems items;
};

TEST_F(TrackedItemsTest, EveryObjectOfAnItemIsShownAgain) {
  items.track(a, "/x");
  items.track(b, "/x");  // through a symbolic link
  items.change({"/x", "/unknown"});
  EXPECT_EQ(takeAll(), (std::set{a, b}));
  EXPECT_FALSE(items.hasChanged());
}

TEST_F(TrackedItemsTest, AnObjectThatHasGoneIsNeverGiven) {
  items.track(a, "/x");
  items.change({"/x"});
  EXPECT_EQ(items.forget(a), "/x");
  EXPECT_EQ(takeAll(), std::set<TrackedItems::Token>{});
  EXPECT_EQ(items.forget(a), "");
  EXPECT_EQ(items.size(), 0U);
}

TEST_F(TrackedItemsTest, WhatWasShownMeanwhileIsNotShownTwice) {
  items.track(a, "/x");
  items.change({"/x"});
  items.settle(a);
  EXPECT_FALSE(items.hasChanged());
  items.change({"/x"});
  items.change({"/x"});
  EXPECT_EQ(items.takeChanged(), a);
  EXPECT_EQ(items.takeChanged(), nullptr);
}

TEST_F(TrackedItemsTest, ARenamedItemIsKnownByItsNewPathOnly) {
  EXPECT_EQ(items.track(a, "/old"), "");
  EXPECT_EQ(items.track(a, "/old"), "/old");
  EXPECT_EQ(items.track(a, "/new"), "/old");
  items.change({"/old"});
  EXPECT_FALSE(items.hasChanged());
  items.change({"/new"});
  EXPECT_EQ(takeAll(), std::set{a});
}

TEST_F(TrackedItemsTest, WhatAnObjectShowsStaysWithIt) {
  items.track(a, "/x");
  items.item(a).emblem = "e";
  items.track(a, "/y");
  EXPECT_EQ(items.item(a).emblem, "e");
  EXPECT_EQ(items.item(a).path, "/y");
  items.changeAll();
  EXPECT_TRUE(items.item(a).mustRenew);
  EXPECT_EQ(takeAll(), std::set{a});
  items.forget(a);
  items.track(a, "/x");
  EXPECT_EQ(items.item(a).emblem, "") << "a new object at the same place";
}

}  // namespace
}  // namespace kelpie::filemanagers
