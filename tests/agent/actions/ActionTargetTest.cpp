#include "agent/actions/ActionTarget.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string_view>

#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

class PathWithin : public testing::Test {
 protected:
  std::optional<std::string> within(std::string_view path) const {
    return pathWithin(root_, folder_ / path);
  }

  TemporaryFolder folder_;
  const std::string root_ = folder_.addFolder("root");
};

TEST_F(PathWithin, NamesWhatIsThereAndWhatIsGone) {
  folder_.addFile("root/sub/a");
  EXPECT_EQ(within("root/sub/a"), "sub/a");
  EXPECT_EQ(within("root/sub/gone"), "sub/gone");
  EXPECT_EQ(within("root/gone/deep/x"), "gone/deep/x");
  EXPECT_EQ(within("root/\xFF\n-"), "\xFF\n-");
}

TEST_F(PathWithin, TheRootIsADot) {
  EXPECT_EQ(within("root"), ".");
  folder_.addLink("link", "root");
  EXPECT_EQ(within("link"), ".");
}

TEST_F(PathWithin, FollowsLinksAboveTheItemButNotTheItem) {
  folder_.addFile("root/sub/a");
  folder_.addLink("link", "root");
  folder_.addLink("root/inner", "sub");
  folder_.addLink("root/out", "/");
  EXPECT_EQ(within("link/sub/a"), "sub/a");
  EXPECT_EQ(within("root/inner/a"), "sub/a");
  EXPECT_EQ(within("root/inner"), "inner");
  EXPECT_EQ(within("root/out"), "out");
}

TEST_F(PathWithin, WhatLiesElsewhereIsNotWithin) {
  folder_.addLink("root/out", "..");
  for (const char* path : {"other", "rooted/x", "root/../other", "root/..", "root/out/other"})
    EXPECT_FALSE(within(path)) << path;
  EXPECT_FALSE(pathWithin(root_, "relative"));
  EXPECT_FALSE(pathWithin(root_, ""));
  EXPECT_FALSE(pathWithin(root_, "/"));
}

TEST_F(PathWithin, LinksInALoopAreNotWithin) {
  folder_.addLink("root/one", "two");
  folder_.addLink("root/two", "one");
  EXPECT_FALSE(within("root/one/x"));
}

}  // namespace
}  // namespace kelpie::agent
