#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "refs/KPRefsManager.h"
#include "status/KPBadge.h"
#include "status/RepositoryFixture.h"
#include "status/WordOracle.h"

namespace kelpie {
namespace {

class BadgeTest : public RepositoryFixture {};

TEST_F(BadgeTest, TheHighestBitOfEveryWordDecides) {
  for (unsigned s = 0; s <= 0xFFFF; ++s) {
    ASSERT_EQ(KPRepository::badgeIdentifierForStatus(static_cast<StatusWord>(s)), oracle::badge(s))
        << std::hex << s;
  }
}

TEST_F(BadgeTest, WordsAndTheirBadges) {
  struct Case {
    StatusWord word;
    const char* badge;
  };
  const Case cases[] = {
      {0x0000, "KPCurrentBadge"},
      {0x0180, "KPWorkdirModifiedBadge"},
      {0x8100, "KPConflictedBadge"},
      {0x4080, "KPIgnoredBadge"},
      {0x2000, "KPWorkdirNewBadge"},
      {0x1080, ""},
      {0x0020, ""},
      {0x0040, ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(KPRepository::badgeIdentifierForStatus(c.word), c.badge) << c.word;
}

TEST_F(BadgeTest, EveryBadgeOfAWordHasAnImageOrIsNone) {
  for (int bit = 0; bit < 16; ++bit) {
    const std::string_view badge =
        KPRepository::badgeIdentifierForStatus(static_cast<StatusWord>(1U << bit));
    const auto badges = KPBadge::badges();
    EXPECT_TRUE(badge.empty() || std::any_of(badges.begin(), badges.end(),
                                             [badge](const KPBadge::Entry& entry) {
                                               return entry.identifier == badge;
                                             }))
        << badge;
  }
}

TEST_F(BadgeTest, AnItemWithoutKeyIsBare) {
  send(statusInfo({}));
  EXPECT_EQ(ask("/r/none"), "KPEmptyBadge");
  EXPECT_EQ(ask("/r/none .kelpieDeleted"), "KPEmptyBadge");
}

TEST_F(BadgeTest, AnEntryDecides) {
  send(statusInfo({{file("/r/a"), 0x8100}, {gone("/r/b"), 0x0200}, {file("/r/c"), 0x1080}}));
  EXPECT_EQ(ask("/r/a"), "KPConflictedBadge");
  EXPECT_EQ(ask(gone("/r/b")), "KPWorkdirDeletedBadge");
  EXPECT_EQ(ask("/r/c"), "") << "the empty string is not the empty badge";
}

TEST_F(BadgeTest, TheGitDirectoryAndWhatLiesInItAreBareAndNotRecorded) {
  showFolderStatus(true);
  send(statusInfo({}));
  file("/r/.git/HEAD");
  file("/r/.git/refs/heads/main");
  for (const char* path : {"/r/.git", "/r/.git/HEAD", "/r/.git/refs", "/r/.git/refs/heads/main"}) {
    EXPECT_EQ(ask(path), "KPEmptyBadge") << path;
    EXPECT_EQ(word(path), std::nullopt) << path;
  }
}

TEST_F(BadgeTest, TheGitDirectoryIsKnownByIdentity) {
  send(statusInfo({}));
  file("/r/.git/HEAD");
  platform.files->addLink("/l", "/r");
  EXPECT_EQ(ask("/l/.git"), "KPEmptyBadge");
  EXPECT_EQ(ask("/l/.git/HEAD"), "KPEmptyBadge");
  EXPECT_EQ(word("/r/.git/HEAD"), std::nullopt);
}

TEST_F(BadgeTest, AGitDirectoryThatIsAFileHoldsNothing) {
  file("/r/link.git");
  repository->setGitUrl(url("/r/link.git"));
  send(statusInfo({}));
  file("/r/a");
  EXPECT_EQ(ask("/r/link.git"), "KPEmptyBadge");
  EXPECT_EQ(ask("/r/a"), "KPCurrentBadge");
}

TEST_F(BadgeTest, AnEntryWinsOverTheGitDirectoryIgnoredFoldersAndTheSetting) {
  file("/r/.git/HEAD");
  file("/r/build/a");
  platform.files->addFolder("/r/d");
  Dictionary info =
      statusInfo({{"/r/.git/HEAD", 0x0100}, {"/r/build/a", 0x0001}, {"/r/d", 0x0002}});
  info.set("KPStatusIgnoredURLs", urls({"/r/build"}));
  send(info);
  EXPECT_EQ(ask("/r/.git/HEAD"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(ask("/r/build/a"), "KPIndexNewBadge");
  EXPECT_EQ(ask("/r/d"), "KPIndexModifiedBadge");
}

TEST_F(BadgeTest, TheGitDirectoryWinsOverIgnoredFolders) {
  file("/r/.git/HEAD");
  Dictionary info = statusInfo({});
  info.set("KPStatusIgnoredURLs", urls({"/r/.git"}));
  send(info);
  EXPECT_EQ(ask("/r/.git/HEAD"), "KPEmptyBadge");
}

TEST_F(BadgeTest, WhatLiesInAnIgnoredFolderIsIgnoredAndRecorded) {
  showFolderStatus(true);
  file("/r/build/a");
  file("/r/build/sub/b");
  Dictionary info = statusInfo({});
  info.set("KPStatusIgnoredURLs", urls({"/r/build"}));
  send(info);
  for (const char* path : {"/r/build/a", "/r/build/sub", "/r/build/sub/b"}) {
    EXPECT_EQ(ask(path), "KPIgnoredBadge") << path;
    EXPECT_EQ(word(path), 0x4000) << path;
  }
}

TEST_F(BadgeTest, AFileThatIsNotMentionedIsCurrentAndRecorded) {
  send(statusInfo({}));
  file("/r/a");
  EXPECT_EQ(word("/r/a"), std::nullopt);
  EXPECT_EQ(ask("/r/a"), "KPCurrentBadge");
  EXPECT_EQ(word("/r/a"), 0);
}

TEST_F(BadgeTest, BeforeTheFirstStatusNothingIsRecorded) {
  file("/r/a");
  EXPECT_EQ(ask("/r/a"), "KPCurrentBadge");
  EXPECT_EQ(word("/r/a"), std::nullopt);
}

TEST_F(BadgeTest, APlaceholderThatIsNotMentionedIsCurrent) {
  send(statusInfo({}));
  EXPECT_EQ(ask(gone("/r/a")), "KPCurrentBadge");
  EXPECT_EQ(word(gone("/r/a")), 0);
}

// What the main application says of the path of a placeholder that exists is not found under its
// identifier.
TEST_F(BadgeTest, APlaceholderThatExistsIsCurrent) {
  const std::string path = file(gone("/r/a"));
  Dictionary info = statusInfo({});
  info.set("KPRepositoryStatus", Dictionary{{Object(path), Objects{0x0200, path}}});
  send(info);
  EXPECT_EQ(ask(path), "KPCurrentBadge");
}

TEST_F(BadgeTest, AFolderIsBareWhileFolderStatusIsOffAndAggregatedWhileItIsOn) {
  send(statusInfo({{file("/r/d/a"), 0x0080}}));
  EXPECT_EQ(ask("/r/d"), "KPEmptyBadge");
  EXPECT_EQ(word("/r/d"), std::nullopt);
  showFolderStatus(true);
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge");
  EXPECT_EQ(word("/r/d"), 0x0080);
}

TEST_F(BadgeTest, APackageIsAggregatedWhateverTheSetting) {
  platform.files->addPackage("/r/App.app");
  send(statusInfo({{file("/r/App.app/Contents/a"), 0x0100}}));
  EXPECT_EQ(ask("/r/App.app"), "KPWorkdirModifiedBadge");
}

TEST_F(BadgeTest, TheSettingIsReadAnewForEachFolder) {
  file("/r/d/a");
  file("/r/e/a");
  send(statusInfo({}));
  EXPECT_EQ(ask("/r/d"), "KPEmptyBadge");
  showFolderStatus(true);
  EXPECT_EQ(ask("/r/e"), "KPCurrentBadge");
}

TEST_F(BadgeTest, FolderStatusIsOnUnlessTheUserSaysOtherwise) {
  platform.groupDefaults().changeFromOutside(kShowFolderGitStatusKey, Object());
  send(statusInfo({{file("/r/d/a"), 0x0080}}));
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge");
}

TEST_F(BadgeTest, WithoutAnApplicationGroupFoldersAreBare) {
  showFolderStatus(true);
  platform.entitlements.values.clear();
  KPUserDefaults none(platform.platform());
  repository =
      KPRepository::create(url("/r"), url("/r/.git"), observedPaths, platform.platform(), none);
  send(statusInfo({{file("/r/d/a"), 0x0080}}));
  EXPECT_EQ(ask("/r/d"), "KPEmptyBadge");
  repository = nullptr;
}

TEST_F(BadgeTest, AFolderWithAnEntryIsNotAggregated) {
  showFolderStatus(true);
  platform.files->addFolder("/r/d");
  send(statusInfo({{file("/r/d/a"), 0x0080}, {"/r/d", 0x0002}}));
  platform.events.clear();
  EXPECT_EQ(ask("/r/d"), "KPIndexModifiedBadge");
  ask("/r");
  EXPECT_EQ(ask("/r"), "KPWorkdirNewBadge") << "its own entry by now";
  EXPECT_EQ(platform.events.count("files.walk"), 1U);
}

TEST_F(BadgeTest, BulkBadgesAreSetAsTheyComeAndChangeNoEntry) {
  send(statusInfo({{file("/r/a"), 0x0100}}));
  platform.finder.forgetBadges();
  repository->updateBadges(
      Dictionary{{"urls", urls({"/r/a", "/elsewhere"})}, {"badge", "KPConflictedBadge"}});
  const std::vector<FakeFinder::Badge> expected = {{"KPConflictedBadge", "/r/a"},
                                                   {"KPConflictedBadge", "/elsewhere"}};
  EXPECT_EQ(platform.finder.badges(), expected) << "at once, on the caller's thread";
  EXPECT_EQ(word("/r/a"), 0x0100);
  repository->updateBadges(Dictionary{{"urls", Object::set({url("/r/b")})}, {"badge", ""}});
  EXPECT_EQ(platform.finder.badgeFor("/r/b"), "") << "any collection, any identifier";
}

TEST_F(BadgeTest, BulkBadgesForNoUrlsDoNothing) {
  platform.finder.forgetBadges();
  repository->updateBadges(Dictionary{{"urls", Objects{}}, {"badge", "KPIgnoredBadge"}});
  repository->updateBadges(Dictionary{{"badge", "KPIgnoredBadge"}});
  EXPECT_TRUE(platform.finder.badges().empty());
}

}  // namespace
}  // namespace kelpie
