#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Error.h"
#include "status/RepositoryFixture.h"

namespace kelpie {
namespace {

class FolderStatusTest : public RepositoryFixture {
 protected:
  FolderStatusTest() { showFolderStatus(true); }

  // The folder's word and badge, worked out now from the given status.
  StatusWord aggregate(const Object& info, std::string_view folder = "/r/d") {
    send(info);
    repository->updateStatusOfDirectoryURL(url(folder));
    platform.runAll();
    const StatusWord result = word(folder).value_or(0xFFFF);
    EXPECT_EQ(platform.finder.badgeFor(folder), KPRepository::badgeIdentifierForStatus(result));
    return result;
  }
};

// -- The suffix -----------------------------------------------------------------------------------

// Runs in a process of its own, which has made no repository yet.
void checkSuffixBeforeTheFirstRepository() {
  const bool missing = !KPRepository::deletedFilesSuffix();
  FakePlatform platform;
  KPUserDefaults settings(platform.platform());
  platform.files->addFolder("/r");
  const auto repository = KPRepository::create(URL::fileURLWithPath("/r"), std::nullopt, nullptr,
                                               platform.platform(), settings);
  const char* const want = " \x0E.kelpieDeleted";
  std::_Exit(missing && KPRepository::deletedFilesSuffix() == want ? 0 : 1);
}

TEST(DeletedFilesSuffix, IsMadeWithTheFirstRepository) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(checkSuffixBeforeTheFirstRepository(), testing::ExitedWithCode(0), "");
}

TEST_F(FolderStatusTest, OnlyTheWholeSuffixMakesAPlaceholder) {
  const std::string with = std::string("/r/a ") + '\x0E' + ".kelpieDeleted";
  EXPECT_EQ(repository->identifierForUrl(url(with)), ItemKey(with));
  EXPECT_EQ(repository->identifierForUrl(url("/r/a .kelpieDeleted")), std::nullopt);
}

// -- Ignored ancestors ----------------------------------------------------------------------------

TEST_F(FolderStatusTest, OnlyFoldersBetweenTheItemAndTheRootMakeItIgnored) {
  for (const char* path : {"/r/build/a", "/r/build/sub/b", "/r/src/c"}) file(path);
  EXPECT_FALSE(repository->isParentIgnoredUrl(url("/r/build/a"))) << "nothing is ignored";
  repository->setIgnoredUrls(urls({"/r/build", "/r", "/"}));
  EXPECT_TRUE(repository->isParentIgnoredUrl(url("/r/build/a")));
  EXPECT_TRUE(repository->isParentIgnoredUrl(url("/r/build/sub/b")));
  EXPECT_TRUE(repository->isParentIgnoredUrl(url("/r/build/sub/none")));
  EXPECT_FALSE(repository->isParentIgnoredUrl(url("/r/build"))) << "not the item itself";
  EXPECT_FALSE(repository->isParentIgnoredUrl(url("/r/src/c"))) << "not the root";
  EXPECT_TRUE(repository->isParentIgnoredUrl(url("/elsewhere"))) << "up to the file system's root";
  EXPECT_FALSE(repository->isParentIgnoredUrl(url("/")));
  EXPECT_FALSE(repository->isParentIgnoredUrl(*URL::fromString("https://host/r/build/a")));
}

TEST_F(FolderStatusTest, AnIgnoredFolderItselfIsAggregated) {
  Dictionary info = statusInfo({{file("/r/build/a"), 0x0080}});
  info.set("KPStatusIgnoredURLs", urls({"/r/build"}));
  send(info);
  EXPECT_EQ(ask("/r/build"), "KPWorkdirNewBadge");
}

// -- Enumeration ----------------------------------------------------------------------------------

class Enumeration : public FolderStatusTest {
 protected:
  KPRepository::Enumeration enumerate(std::string_view folder, const bool& exitCondition) {
    met.clear();
    return repository->enumerateUrl(
        url(folder), [this](const URL& item) { met.push_back(item.path()); }, exitCondition,
        &error);
  }

  std::vector<std::string> met;
  std::optional<Error> error = Error{"left over", 1, {}};
};

TEST_F(Enumeration, HandsOverFilesAtAllDepthsAndNoFolders) {
  for (const char* path : {"/r/d/a", "/r/d/e/b", "/r/d/.h/c"}) file(path);
  platform.files->addPackage("/r/d/App.app");
  file("/r/d/App.app/in");
  platform.files->addLink("/r/d/link", "/r/d");
  EXPECT_EQ(enumerate("/r/d", false), KPRepository::kEnumerated);
  EXPECT_EQ(met, (std::vector<std::string>{"/r/d/a", "/r/d/e/b", "/r/d/.h/c", "/r/d/App.app/in",
                                           "/r/d/link"}));
  EXPECT_FALSE(error.has_value());
}

TEST_F(Enumeration, LeavesOutWhatLiesInIgnoredFolders) {
  for (const char* path : {"/r/d/a", "/r/d/build/b", "/r/d/build/c/d", "/r/d/z"}) file(path);
  repository->setIgnoredUrls(urls({"/r/d/build", "/r/d/z", "/r/d"}));
  EXPECT_EQ(enumerate("/r/d", false), KPRepository::kEnumerated);
  EXPECT_EQ(met, (std::vector<std::string>{"/r/d/a", "/r/d/z"}))
      << "an ignored file is handed over, and the folder itself is not tested";
}

TEST_F(Enumeration, StopsAtTheFirstItemWhenTheExitFlagIsUp) {
  file("/r/d/a");
  EXPECT_EQ(enumerate("/r/d", true), KPRepository::kEnumerationStopped);
  EXPECT_TRUE(met.empty());
  EXPECT_FALSE(error.has_value());
  platform.files->addFolder("/r/empty");
  EXPECT_EQ(enumerate("/r/empty", true), KPRepository::kEnumerated) << "there is no item";
}

TEST_F(Enumeration, TheExitFlagIsReadBeforeEachItem) {
  for (const char* path : {"/r/d/a", "/r/d/b", "/r/d/c"}) file(path);
  bool stop = false;
  int count = 0;
  const auto result = repository->enumerateUrl(
      url("/r/d"), [&](const URL&) { stop = ++count == 2; }, stop, nullptr);
  EXPECT_EQ(result, KPRepository::kEnumerationStopped);
  EXPECT_EQ(count, 2);
}

TEST_F(Enumeration, AnErrorFailsItAndIsHandedBack) {
  for (const char* path : {"/r/d/a", "/r/d/closed/b", "/r/d/z"}) file(path);
  platform.files->setUnreadable("/r/d/closed");
  EXPECT_EQ(enumerate("/r/d", false), KPRepository::kEnumerationFailed);
  EXPECT_EQ(met, std::vector<std::string>{"/r/d/a"}) << "it ends at the error";
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(repository->enumerateUrl(
                url("/r/none"), [](const URL&) {}, false, nullptr),
            KPRepository::kEnumerationFailed);
}

TEST_F(Enumeration, AnErrorAtTheStartGoesBeforeTheExitFlag) {
  EXPECT_EQ(enumerate("/r/none", true), KPRepository::kEnumerationFailed);
  EXPECT_TRUE(error.has_value());
}

// -- Aggregation ----------------------------------------------------------------------------------

TEST_F(FolderStatusTest, WithoutAChangedItemInsideAFolderIsCurrentAndNotWalked) {
  Dictionary info = statusInfo({{file("/r/d/a"), 0x0100}, {file("/r/e/b"), 0x0100}});
  info.set("KPStatusDirtyURLs", urls({"/r/e/b"}));
  EXPECT_EQ(aggregate(info), 0);
  EXPECT_EQ(platform.events.count("files.walk"), 0U);
}

TEST_F(FolderStatusTest, FoldersOfOneKindAndMixtures) {
  struct Case {
    const char* why;
    std::vector<int> words;
    StatusWord want;
  };
  const Case cases[] = {
      {"all new", {0x0080, 0x0080, 0x0080}, 0x0080},
      {"new, and new in the index", {0x0080, 0x0001}, 0x0080},
      {"new in the index, and modified there", {0x0001, 0x0002}, 0x0002},
      {"all deleted in the index", {0x0004, 0x0004}, 0x0004},
      {"new, and current", {0x0080, 0}, 0x0100},
      {"a conflict among modified ones", {0x0100, 0x8000, 0x0100}, 0x8000},
  };
  int number = 0;
  for (const Case& c : cases) {
    const std::string folder = "/r/d" + std::to_string(++number);
    Entries list;
    for (const int word : c.words)
      list.emplace_back(file(folder + "/x/" + std::to_string(list.size())), word);
    EXPECT_EQ(aggregate(statusInfo(list), folder), c.want) << c.why;
  }
}

TEST_F(FolderStatusTest, APlaceholderElsewhereMakesAFolderOfOneKindMixed) {
  EXPECT_EQ(aggregate(statusInfo(
                {{file("/r/d/a"), 0x0080}, {file("/r/d/b"), 0x0080}, {gone("/r/e/x"), 0x0200}})),
            0x0100);
}

TEST_F(FolderStatusTest, APlaceholderElsewhereStaysInTheTotalAlsoWithoutEntry) {
  Dictionary info = statusInfo({{file("/r/d/a"), 0x0080}});
  info.set("KPStatusDeletedURLs", urls({gone("/r/e/x")}));
  EXPECT_EQ(aggregate(info), 0x0100);
}

TEST_F(FolderStatusTest, AConflictWins) {
  EXPECT_EQ(aggregate(statusInfo(
                {{file("/r/d/a"), 0x0100}, {file("/r/d/b"), 0x8100}, {file("/r/d/c"), 0x0100}})),
            0x8000);
}

TEST_F(FolderStatusTest, AFolderOfIgnoredFilesIsCurrent) {
  Dictionary info = statusInfo({{file("/r/d/a"), 0x4000}, {file("/r/d/b"), 0x4080}});
  info.set("KPStatusDirtyURLs", urls({"/r/d/a"}));
  EXPECT_EQ(aggregate(info), 0);
  EXPECT_EQ(platform.events.count("files.walk"), 1U);
}

TEST_F(FolderStatusTest, AFileWithoutEntryLeavesTheTotal) {
  file("/r/d/unmentioned");
  EXPECT_EQ(aggregate(statusInfo({{file("/r/d/a"), 0x0080}})), 0x0080);
}

TEST_F(FolderStatusTest, AFileWithoutIdentifierStaysInTheTotal) {
  file("/r/d/vanishing");
  platform.files->setVanishing("/r/d/vanishing");
  EXPECT_EQ(aggregate(statusInfo({{file("/r/d/a"), 0x0080}})), 0x0100);
}

TEST_F(FolderStatusTest, APlaceholderBeginningWithTheFoldersPathCountsForIt) {
  file("/r/a/f");
  // In the folder itself there is only a file that has no entry.
  Dictionary info = statusInfo({{gone("/r/ab/x"), 0x0200}});
  info.set("KPStatusDirtyURLs", urls({"/r/a/f"}));
  EXPECT_EQ(aggregate(info, "/r/a"), 0x0200);
}

TEST_F(FolderStatusTest, ThePlaceholderOfTheFolderItselfCountsForIt) {
  file("/r/a/f");
  Dictionary info = statusInfo({{gone("/r/a"), 0x0004}});
  info.set("KPStatusDirtyURLs", urls({"/r/a/f"}));
  EXPECT_EQ(aggregate(info, "/r/a"), 0x0004);
}

TEST_F(FolderStatusTest, AnOwnPlaceholderWithoutEntryLeavesTheTotal) {
  Dictionary info = statusInfo({{file("/r/d/a"), 0x0080}});
  info.set("KPStatusDeletedURLs", urls({gone("/r/d/x")}));
  EXPECT_EQ(aggregate(info), 0x0080);
}

// It is shown as current, since it has an identifier, and is counted twice: as the file that it is
// (without an entry) and as the placeholder of its path.
TEST_F(FolderStatusTest, APlaceholderThatExistsIsFoundByItsPath) {
  const std::string path = file(gone("/r/d/x"));
  Dictionary info = statusInfo({});
  info.set("KPRepositoryStatus", Dictionary{{Object(path), Objects{0x0200, path}}});
  info.set("KPStatusDeletedURLs", urls({path}));
  info.set("KPStatusDirtyURLs", urls({path}));
  EXPECT_EQ(aggregate(info), 0x0200);
}

TEST_F(FolderStatusTest, AHardLinkCountsTwice) {
  file("/r/d/a");
  file("/r/d/b");
  platform.files->setIdentifier("/r/d/b", identifier("/r/d/a"));
  // One file of two is new: as two of two, all are new.
  EXPECT_EQ(aggregate(statusInfo({{"/r/d/a", 0x0080}})), 0x0080);
  // With one link inside a folder of index changes, both count there as well.
  EXPECT_EQ(aggregate(statusInfo({{"/r/d/a", 0x0001}, {file("/r/d/c"), 0x0001}})), 0x0001);
}

TEST_F(FolderStatusTest, WhatLiesInIgnoredFoldersDoesNotCount) {
  Dictionary info = statusInfo({{file("/r/d/a"), 0x0080}, {file("/r/d/build/b"), 0x0100}});
  info.set("KPStatusIgnoredURLs", urls({"/r/d/build"}));
  EXPECT_EQ(aggregate(info), 0x0080);
}

TEST_F(FolderStatusTest, OneUnreadableFolderBelowMakesAllOfItCurrent) {
  file("/r/d/closed/b");
  platform.files->setUnreadable("/r/d/closed");
  EXPECT_EQ(aggregate(statusInfo({{file("/r/d/a"), 0x8000}})), 0);
}

TEST_F(FolderStatusTest, AFileIsNoFolderAndCurrent) {
  EXPECT_EQ(aggregate(statusInfo({{file("/r/d"), 0x0100}})), 0);
}

TEST_F(FolderStatusTest, AFolderThatIsGoneGetsABadgeButNoEntry) {
  send(statusInfo({{file("/r/d/a"), 0x0100}}));
  platform.files->remove("/r/d");
  repository->updateStatusOfDirectoryURL(url("/r/d"));
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPCurrentBadge");
  EXPECT_EQ(word("/r/d"), std::nullopt);
}

TEST_F(FolderStatusTest, TheRootIsAggregatedWithTheGitDirectoryInIt) {
  file("/r/.git/HEAD");
  send(statusInfo({{file("/r/a"), 0x0080}, {"/r/.git/HEAD", 0}}));
  EXPECT_EQ(ask("/r"), "KPWorkdirModifiedBadge");
}

// -- When what is read ----------------------------------------------------------------------------

TEST_F(FolderStatusTest, ChangedItemsAreThoseOfTheRequestAllElseThoseOfTheRun) {
  send(statusInfo({{file("/r/d/a"), 0x0100}}));
  repository->updateStatusOfDirectoryURL(url("/r/d"));
  Dictionary later = statusInfo({{"/r/d/a", 0x0080}});
  later.set("KPStatusDirtyURLs", Objects{});
  repository->setStatus(later[std::string_view("KPRepositoryStatus")]);
  repository->setDirtyUrls(Objects{});
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPWorkdirNewBadge");

  repository->updateStatusOfDirectoryURL(url("/r/d"));
  repository->setDirtyUrls(urls({"/r/d/a"}));
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPCurrentBadge") << "none at the request";
}

TEST_F(FolderStatusTest, TheEntryStaysUntilTheNextStatus) {
  send(statusInfo({{file("/r/d/a"), 0x0080}}));
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge");
  platform.files->remove("/r/d/a");
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge");
  send(statusInfo({}));
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPCurrentBadge");
}

// The second message is taken in before the folder's turn has come.
TEST_F(FolderStatusTest, AnEntryOfALaterStatusOutlivesTheWorkOfAnEarlierOne) {
  file("/r/d/a");
  repository->addObservedURL(url("/r/d"));
  platform.runAll();
  repository->setStatusInfo(statusInfo({}));
  repository->setStatusInfo(statusInfo({{"/r/d", KPStatusIgnored}}));
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPIgnoredBadge");
  EXPECT_EQ(word("/r/d"), KPStatusIgnored);

  repository->updateStatusOfDirectoryURL(url("/r/d"));
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPCurrentBadge") << "asked for, whatever its entry";
}

// -- The work of one status message ---------------------------------------------------------------

// A window that shows twenty folders, the root among what was shown.
class OneWindow : public FolderStatusTest {
 protected:
  OneWindow() {
    for (int i = 0; i < 20; ++i) {
      folders.push_back("/r/w/d" + std::to_string(i));
      for (int j = 0; j < 5; ++j)
        list.emplace_back(file(folders.back() + "/x/f" + std::to_string(j)), 0x0080);
    }
    file("/r/.git/HEAD");
    repository->addObservedURL(url("/r"));
    for (const std::string& folder : folders) repository->addObservedURL(url(folder));
    platform.runAll();
  }

  std::vector<std::string> folders;
  Entries list;
};

TEST_F(OneWindow, NothingIsWalkedTwice) {
  platform.events.clear();
  send(statusInfo(list));
  for (const std::string& folder : folders)
    EXPECT_EQ(platform.finder.badgeFor(folder), "KPWorkdirNewBadge") << folder;
  // The root alone, or each of the folders and then, around them, the root.
  const std::size_t walks = platform.events.count("files.walk");
  EXPECT_EQ(platform.events.count("files.walk /r"), walks);
  EXPECT_LE(walks, 21U);
  EXPECT_GE(walks, 1U);
}

TEST_F(OneWindow, NoFolderIsLookedAtTwice) {
  platform.files->forgetCounts();
  send(statusInfo(list));
  for (const std::string& folder : folders) {
    EXPECT_EQ(platform.files->lookUps(folder), 1U) << folder;
    EXPECT_LE(platform.files->lookUps(folder + "/x"), 1U) << folder;
  }
  for (const char* path : {"/", "/r", "/r/w", "/r/.git"})
    EXPECT_LE(platform.files->lookUps(path), 1U) << path;
}

TEST_F(OneWindow, TheNextMessageLooksAnew) {
  send(statusInfo(list));
  list.emplace_back(file(folders[3] + "/late"), 0x0100);
  platform.files->move(folders[4], folders[4] + "-moved");
  send(statusInfo(list));
  EXPECT_EQ(platform.finder.badgeFor(folders[3]), "KPWorkdirModifiedBadge");
  EXPECT_EQ(platform.finder.badgeFor(folders[4]), "KPEmptyBadge");
  EXPECT_EQ(platform.finder.badgeFor(folders[5]), "KPWorkdirNewBadge");
}

// Two messages come in before the folders of the first are due: these are worked out from what the
// second brought, and from what is on disk then.
TEST_F(OneWindow, FoldersThatAreDueAfterTheNextMessageUseThatOne) {
  ManualQueue& queue = *platform.queues.withLabel("org.kelpie.Kelpie.Sync.UpdateQueue").at(0);
  Dictionary first = statusInfo(list);
  repository->setStatusInfo(first);
  Dictionary second = statusInfo(list);
  second.set("KPStatusIgnoredURLs", urls({folders[2] + "/x"}));
  repository->setStatusInfo(second);
  ASSERT_TRUE(queue.runOne());
  file(folders[3] + "/late");
  ASSERT_TRUE(queue.runOne());
  platform.finder.forgetBadges();
  for (std::size_t i = 0; i < folders.size() + 1; ++i) ASSERT_TRUE(queue.runOne());
  EXPECT_EQ(platform.finder.badgeFor(folders[1]), "KPWorkdirNewBadge");
  EXPECT_EQ(platform.finder.badgeFor(folders[2]), "KPCurrentBadge");
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor(folders[2]), "KPCurrentBadge");
}

// Requests that wait together are worked out together; one that comes later looks for itself.
TEST_F(OneWindow, RequestsThatWaitTogetherShareTheirWalks) {
  for (const auto& set : observedPaths->sets())
    for (const std::string& path : set->paths())
      observedPaths->remove(*url(path).parentUrl()->identifier());
  send(statusInfo(list));
  platform.events.clear();
  repository->addObservedURL(url("/r/w"));
  for (const std::string& folder : folders) repository->addObservedURL(url(folder));
  platform.runAll();
  EXPECT_EQ(platform.events.count("files.walk"), 1U);
  EXPECT_EQ(platform.finder.badgeFor(folders[7]), "KPWorkdirNewBadge");
  file(folders[7] + "/late");
  repository->updateStatusOfDirectoryURL(url(folders[7]));
  platform.runAll();
  EXPECT_EQ(platform.events.count("files.walk"), 2U);
}

}  // namespace
}  // namespace kelpie
