#include "common/RecentItems.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kelpie::filemanagers {
namespace {

// Remembers what is forgotten, by path.
class RecentItemsTest : public testing::Test {
 protected:
  std::vector<std::string> forgotten_;
  RecentItems items_{
      [this](RecentItems::Token token) { forgotten_.push_back(RecentItems::pathOf(token)); }, 2, 4};
};

TEST_F(RecentItemsTest, AnItemKeepsItsToken) {
  const auto* const token = items_.use("/a/one");
  EXPECT_NE(items_.use("/a/two"), token);
  EXPECT_EQ(items_.use("/a/one"), token);
  EXPECT_EQ(RecentItems::pathOf(token), "/a/one");
  EXPECT_EQ(items_.size(), 2U);
  EXPECT_TRUE(forgotten_.empty());
}

TEST_F(RecentItemsTest, TheFolderThatWasAskedInLongestAgoGoesWithAllItsItems) {
  items_.use("/a/one");
  items_.use("/a/two");
  items_.use("/b/one");
  items_.use("/a/one");  // "/b" is the older one now
  items_.use("/c/one");
  EXPECT_EQ(forgotten_, std::vector<std::string>{"/b/one"});
  EXPECT_EQ(items_.folders(), 2U);
  EXPECT_EQ(items_.size(), 3U);
}

TEST_F(RecentItemsTest, AFolderWithMoreThanTheLimitKeepsThoseAskedAboutLast) {
  items_.use("/b/one");
  for (const char* name : {"1", "2", "3", "4"}) items_.use(std::string("/a/").append(name));
  EXPECT_EQ(forgotten_, std::vector<std::string>{"/b/one"});
  items_.use("/a/1");
  items_.use("/a/5");
  EXPECT_EQ(forgotten_, (std::vector<std::string>{"/b/one", "/a/2"}));
  EXPECT_EQ(items_.size(), 4U);
}

TEST_F(RecentItemsTest, WhatWasForgottenMayComeBack) {
  for (const char* folder : {"/a", "/b", "/c", "/a"}) items_.use(std::string(folder) + "/one");
  EXPECT_EQ(forgotten_, (std::vector<std::string>{"/a/one", "/b/one"}));
  std::vector<std::string> paths;
  items_.forEach([&](const std::string& path) { paths.push_back(path); });
  std::ranges::sort(paths);
  EXPECT_EQ(paths, (std::vector<std::string>{"/a/one", "/c/one"}));
}

TEST_F(RecentItemsTest, AThousandFoldersAreNotKept) {
  for (int i = 0; i < 1'000; ++i) items_.use("/folder" + std::to_string(i) + "/item");
  EXPECT_EQ(items_.folders(), 2U);
  EXPECT_EQ(items_.size(), 2U);
  EXPECT_EQ(forgotten_.size(), 998U);
}

}  // namespace
}  // namespace kelpie::filemanagers
