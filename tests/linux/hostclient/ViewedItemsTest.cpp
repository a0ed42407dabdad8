#include "linux/hostclient/ViewedItems.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(ViewedItems, AnItemStaysAsLongAsItsFolderIsInView) {
  ViewedItems items;
  EXPECT_TRUE(items.show("/r"));
  EXPECT_FALSE(items.show("/r"));
  items.want("/r/f", false);
  EXPECT_FALSE(items.hide("/r"));
  EXPECT_NE(items.find("/r/f"), nullptr);
  EXPECT_TRUE(items.hide("/r"));
  EXPECT_EQ(items.find("/r/f"), nullptr);
  EXPECT_FALSE(items.hide("/r"));
  EXPECT_TRUE(items.folders().empty());
}

TEST(ViewedItems, OfItemsOutOfViewTheOldestIsForgottenFirst) {
  ViewedItems items(2);
  items.want("/r/a", false);
  items.want("/r/b", false);
  items.want("/r/c", false);
  EXPECT_EQ(items.find("/r/a"), nullptr);
  EXPECT_NE(items.find("/r/b"), nullptr);
  EXPECT_NE(items.find("/r/c"), nullptr);
  EXPECT_EQ(items.size(), 2U);
}

TEST(ViewedItems, WhatComesIntoViewDoesNotCountAnyMore) {
  ViewedItems items(1);
  items.want("/r/a", false);
  items.show("/r");
  for (const char* path : {"/r/b", "/r/c", "/s/d", "/s/e"}) items.want(path, false);
  EXPECT_NE(items.find("/r/a"), nullptr);
  EXPECT_NE(items.find("/r/b"), nullptr);
  EXPECT_NE(items.find("/r/c"), nullptr);
  EXPECT_EQ(items.find("/s/d"), nullptr);
  EXPECT_NE(items.find("/s/e"), nullptr);
}

TEST(ViewedItems, WithoutAConnectionNoBadgeIsKnown) {
  ViewedItems items;
  items.want("/r/a", false).badge = "X";
  items.want("/r/b", false).isAsked = true;
  EXPECT_EQ(items.forgetBadges(), (std::vector<std::string>{"/r/a"}));
  EXPECT_EQ(items.find("/r/a")->badge, std::nullopt);
  EXPECT_FALSE(items.find("/r/b")->isAsked);
  EXPECT_EQ(items.size(), 2U);
}

TEST(ViewedItems, TheFolderOfAPathIsKnownByItsText) {
  EXPECT_EQ(ViewedItems::folderOf("/a/b"), "/a");
  EXPECT_EQ(ViewedItems::folderOf("/a"), "/");
  EXPECT_EQ(ViewedItems::folderOf("/"), "");
}

}  // namespace
}  // namespace kelpie
