#include "common/RecentLooks.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "filemanagers/FakeExtension.h"
#include "protocol/BadgeIdentifiers.h"

namespace kelpie::filemanagers {
namespace {

using namespace std::chrono_literals;
using Paths = std::vector<std::string>;

class RecentLooksTest : public testing::Test {
 protected:
  void meet(const Paths& directories) {
    session_.client().connecting();
    session_.client().connected(now_);
    hostlink::Welcome welcome;
    welcome.directories = directories;
    take(welcome);
  }
  void take(const hostlink::ExtensionLine& line) {
    session_.received(hostlink::lineOf(line), now_);
  }
  std::vector<hostlink::HostLine> said() { return linesOf(session_.client().takeOutput()); }
  // What the file manager is told to ask about again, and asks.
  Paths shownAgain() {
    Paths paths;
    bool isMore = true;
    while (isMore) {
      isMore = looks_.showNext([&](const std::string& path) {
        paths.push_back(path);
        looks_.show(path);
      });
    }
    return paths;
  }

  HostClient::Time now_{1h};
  Paths askedOfDisk_;
  FileManagerSession session_{"test",
                              {[] {}, [] {}, [this] { looks_.foldersChanged(); }, [] {},
                               [](const std::string&, const std::string&) {}},
                              [](const std::string& folder) { return folder; }};
  RecentLooks looks_{session_, [this](const std::string& path) {
                       askedOfDisk_.push_back(path);
                       return path.ends_with("folder");
                     }};
};

TEST_F(RecentLooksTest, WhatIsNotObservedIsNeitherAskedForNorLookedAt) {
  meet({"file:///repo/"});
  EXPECT_EQ(looks_.show("/elsewhere/f").emblem, "");
  EXPECT_TRUE(only<hostlink::RequestBadges>(said()).empty());
  EXPECT_TRUE(askedOfDisk_.empty());
}

TEST_F(RecentLooksTest, AnItemIsShownAgainWhenItsBadgeComes) {
  meet({"file:///repo/"});
  shownAgain();
  looks_.show("/repo/f");
  looks_.show("/repo/folder");
  const auto lines = said();
  ASSERT_EQ(only<hostlink::BeginObserving>(lines).size(), 1U) << "its folder is in view";
  const auto requests = only<hostlink::RequestBadges>(lines);
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].urls, (Paths{"file:///repo/f", "file:///repo/folder/"}));
  take(hostlink::Badges{{{"file:///repo/f", std::string(badge::kConflicted)}}});
  EXPECT_EQ(shownAgain(), Paths{"/repo/f"});
  EXPECT_EQ(looks_.show("/repo/f").emblem, "kelpie-conflicted");
}

TEST_F(RecentLooksTest, WhatWasShownBeforeTheExtensionCameIsShownAgainThen) {
  looks_.show("/repo/f");
  looks_.show("/elsewhere/f");
  meet({"file:///repo/"});
  EXPECT_EQ(shownAgain(), Paths{"/repo/f"});
  EXPECT_EQ(only<hostlink::RequestBadges>(said()).size(), 1U);
}

TEST_F(RecentLooksTest, AnEndOfTheConnectionClearsWhatIsShown) {
  meet({"file:///repo/"});
  looks_.show("/repo/f");
  take(hostlink::Badges{{{"file:///repo/f", std::string(badge::kConflicted)}}});
  shownAgain();
  session_.ended(now_);
  EXPECT_EQ(shownAgain(), Paths{"/repo/f"});
  EXPECT_EQ(looks_.show("/repo/f").emblem, "");
}

TEST_F(RecentLooksTest, FoldersThatWereLeftLongAgoAreNotInViewAnyMore) {
  meet({"file:///repo/"});
  for (std::size_t i = 0; i < 3 * RecentItems::kMaximumFolders; ++i)
    looks_.show("/repo/d" + std::to_string(i) + "/f");
  const auto lines = said();
  const auto inView =
      only<hostlink::BeginObserving>(lines).size() - only<hostlink::EndObserving>(lines).size();
  EXPECT_LE(inView, RecentItems::kMaximumFolders + VisitedFolders::kMaximumEmpty);
  EXPECT_EQ(looks_.size(), RecentItems::kMaximumFolders);
}

}  // namespace
}  // namespace kelpie::filemanagers
