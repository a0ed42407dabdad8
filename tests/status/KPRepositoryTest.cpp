#include "status/KPRepository.h"

#include <gtest/gtest.h>

#include "refs/KPReference.h"
#include "refs/KPRefsManager.h"
#include "status/RepositoryFixture.h"
#include "status/WordOracle.h"

namespace kelpie {
namespace {

class KPRepositoryTest : public RepositoryFixture {};

// -- Creation -------------------------------------------------------------------------------------

TEST_F(KPRepositoryTest, ANewRepositoryKnowsItsPlacesAndNothingElse) {
  EXPECT_EQ(repository->url()->path(), "/r");
  EXPECT_EQ(repository->gitUrl()->path(), "/r/.git");
  EXPECT_EQ(repository->identifier(), url("/r").identifier());
  EXPECT_EQ(repository->observedPaths(), observedPaths);
  EXPECT_EQ(repository->state(), 0);
  EXPECT_FALSE(repository->isDirty());
  EXPECT_FALSE(repository->isRealDirty());
  EXPECT_FALSE(repository->isDisabled());
  EXPECT_TRUE(repository->createdDirectoriesForDeletedItems().isNil());
  EXPECT_EQ(repository->dirtyUrls()->count(), 0U);
  EXPECT_EQ(repository->ignoredUrls()->count(), 0U);
  EXPECT_EQ(repository->deletedUrls()->count(), 0U);
  EXPECT_NE(repository->refsManager(), nullptr);
  EXPECT_EQ(platform.queues.withLabel("org.kelpie.Kelpie.Sync.UpdateQueue").size(), 1U);
}

TEST_F(KPRepositoryTest, EveryRepositoryHasAQueueOfItsOwn) {
  const auto other =
      KPRepository::create(url("/s"), url("/s/.git"), nullptr, platform.platform(), settings);
  EXPECT_NE(other->updateQueue(), repository->updateQueue());
  EXPECT_EQ(platform.queues.withLabel("org.kelpie.Kelpie.Sync.UpdateQueue").size(), 2U);
}

TEST_F(KPRepositoryTest, ARepositoryOfNothingServesAllTheSame) {
  const auto nothing =
      KPRepository::create(std::nullopt, std::nullopt, nullptr, platform.platform(), settings);
  file("/x/a");
  EXPECT_EQ(nothing->identifier(), std::nullopt);
  nothing->setStatusInfo(statusInfo({{"/x/a", 0x0100}}));
  platform.runAll();
  nothing->addObservedURL(url("/x/a"));
  EXPECT_EQ(platform.finder.badgeFor("/x/a"), "KPWorkdirModifiedBadge");
  nothing->addObservedURL(url("/x"));
  EXPECT_EQ(platform.finder.badgeFor("/x"), "KPEmptyBadge");
  EXPECT_FALSE(nothing->isParentIgnoredUrl(url("/x/a")));
}

TEST_F(KPRepositoryTest, TheWorkThatWaitsGoesWithTheRepository) {
  file("/r/a");
  repository->addObservedURL(url("/r/a"));
  repository->setStatusInfo(statusInfo({{"/r/a", 0x0001}}));
  platform.finder.forgetBadges();
  const std::weak_ptr<KPRepository> weak = repository;
  repository = nullptr;
  EXPECT_TRUE(weak.expired());
  platform.runAll();
  EXPECT_EQ(platform.finder.badges(), std::vector<FakeFinder::Badge>{});
}

TEST_F(KPRepositoryTest, OnceItHasEndedItSetsNoBadgeAndRecordsNothing) {
  showFolderStatus(true);
  file("/r/a");
  file("/r/d/b");
  send(statusInfo({{"/r/a", 0x0001}}));
  ask("/r/a");
  repository->addObservedURL(url("/r/d"));
  repository->setStatusInfo(statusInfo({{"/r/a", 0x0100}, {"/r/d/b", 0x0100}}));
  repository->updateStagedStatus(urls({"/r/a"}));
  platform.finder.forgetBadges();

  repository->end();
  platform.runAll();
  repository->setStatusInfo(statusInfo({{"/r/a", 0x0100}}));
  repository->setStatus(entries({{"/r/a", 0x0100}}));
  repository->addObservedURL(url("/r/a"));
  repository->updateBadgeIdentifierForURL(url("/r/d/b"));
  repository->updateStatusOfDirectoryURL(url("/r/d"));
  repository->updateBadges(Dictionary{{"urls", urls({"/r/a"})}, {"badge", "KPIgnoredBadge"}});
  platform.runAll();
  EXPECT_EQ(platform.finder.badges(), std::vector<FakeFinder::Badge>{});
  EXPECT_EQ(word("/r/a"), std::nullopt);
  EXPECT_EQ(word("/r/d/b"), std::nullopt);
}

TEST_F(KPRepositoryTest, OnRequestAnItemGetsTheBadgeOfItsEntryOnceMore) {
  file("/r/a");
  send(statusInfo({{"/r/a", 0x0100}}));
  ASSERT_EQ(ask("/r/a"), "KPWorkdirModifiedBadge");
  platform.finder.forgetBadges();
  repository->updateBadgeIdentifierForURL(url("/r/a"));
  EXPECT_EQ(platform.finder.badges(),
            (std::vector<FakeFinder::Badge>{{"KPWorkdirModifiedBadge", "/r/a"}}));
}

TEST_F(KPRepositoryTest, OneWhosePlaceHasAnotherFolderClearsWhatItHasShown) {
  file("/r/a");
  send(statusInfo({{"/r/a", 0x0100}}));
  ASSERT_EQ(ask("/r/a"), "KPWorkdirModifiedBadge");
  platform.files->move("/r", "/former");
  file("/r/a");
  send(statusInfo({{"/r/a", 0x0100}}));
  EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPEmptyBadge");
}

TEST_F(KPRepositoryTest, ALostQueueHoldsNothingAndTakesNothing) {
  showFolderStatus(true);
  file("/r/a");
  send(statusInfo({{"/r/a", 0}}));
  const auto held = [](const auto& part) -> Object {
    return Objects{Object(std::shared_ptr<const Archivable>(part))};
  };
  const auto before = std::make_shared<const MenuItem>("before", "");
  const auto after = std::make_shared<const MenuItem>("after", "");
  repository->updateStagedStatus(urls({"/r/a"}));
  repository->setStatusInfo(Dictionary{{"KPStatusDirtyURLs", held(before)}});
  platform.runAll();
  EXPECT_EQ(before.use_count(), 1) << "what waited behind";
  repository->setStatusInfo(Dictionary{{"KPStatusDirtyURLs", held(after)}});
  EXPECT_EQ(after.use_count(), 1) << "what comes later";
  EXPECT_EQ(platform.queues.pending(), 0U);
  EXPECT_EQ(word("/r/a"), 0) << "the status it had stays";
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ask("/r"), std::nullopt) << "folders wait for the queue";
}

TEST_F(KPRepositoryTest, PropertiesTakeWhatAMessageBrings) {
  repository->setState(Object(3));
  EXPECT_EQ(repository->state(), 3);
  repository->setState(Object("x"));
  EXPECT_EQ(repository->state(), 0);
  repository->setDirty(Object(1));
  EXPECT_TRUE(repository->isDirty());
  repository->setDirty(Object());
  EXPECT_FALSE(repository->isDirty());
  repository->setRealDirty(Object(true));
  EXPECT_TRUE(repository->isRealDirty());
  repository->setDisabled(Object(true));
  EXPECT_TRUE(repository->isDisabled());
  repository->setDisabled(Object());
  EXPECT_FALSE(repository->isDisabled());
  repository->setIdentifier(Object(Bytes{1, 2}));
  EXPECT_EQ(repository->identifier(), FileIdentifier(Bytes{1, 2}));
  repository->setGitUrl(url("/r/other"));
  EXPECT_EQ(repository->gitUrl()->path(), "/r/other");
  repository->setGitUrl(Object());
  EXPECT_EQ(repository->gitUrl(), std::nullopt);
  repository->setDirtyUrls(urls({"/r/a"}));
  repository->setIgnoredUrls(urls({"/r/b", "/r/c"}));
  repository->setDeletedUrls(urls({"/r/d"}));
  repository->setCreatedDirectoriesForDeletedItems(urls({"/r/e"}));
  EXPECT_EQ(repository->dirtyUrls()->path(0), "/r/a");
  EXPECT_EQ(repository->ignoredUrls()->count(), 2U);
  EXPECT_EQ(repository->deletedUrls()->path(0), "/r/d");
  EXPECT_EQ(repository->createdDirectoriesForDeletedItems().at(0).url()->path(), "/r/e");
}

// -- Item keys ------------------------------------------------------------------------------------

TEST_F(KPRepositoryTest, TheKeyIsTheIdentifierOfWhatExists) {
  file("/r/a");
  file(gone("/r/there"));
  EXPECT_EQ(repository->identifierForUrl(url("/r/a")), ItemKey(*url("/r/a").identifier()));
  EXPECT_EQ(repository->identifierForUrl(url(gone("/r/there"))),
            ItemKey(*url(gone("/r/there")).identifier()));
}

TEST_F(KPRepositoryTest, TheKeyOfAPlaceholderIsItsPath) {
  EXPECT_EQ(repository->identifierForUrl(url(gone("/r/b"))), ItemKey(gone("/r/b")));
}

TEST_F(KPRepositoryTest, WhatIsNoPlaceholderAndDoesNotExistHasNoKey) {
  for (const char* path : {"/r/b", "/r/b.kelpieDeleted", "/r/b .kelpieDeleted"})
    EXPECT_EQ(repository->identifierForUrl(url(path)), std::nullopt) << path;
}

// -- Questions about items ------------------------------------------------------------------------

TEST_F(KPRepositoryTest, EveryWordAnswersAsTheRulesSay) {
  const URL item = url(file("/r/a"));
  const Object key = identifier("/r/a");
  for (unsigned s = 0; s <= 0xFFFF; ++s) {
    repository->setStatus(Dictionary{{key, Objects{static_cast<int>(s), "/r/a"}}});
    ASSERT_EQ(repository->statusOfItemAtURL(item), s);
    ASSERT_EQ(repository->isStagedItemAtURL(item), oracle::staged(s)) << std::hex << s;
    ASSERT_EQ(repository->isUnstagedItemAtURL(item), oracle::unstaged(s)) << std::hex << s;
    ASSERT_EQ(repository->isDiffableItemAtURL(item), oracle::diffable(s)) << std::hex << s;
    ASSERT_EQ(repository->isDiscardableItemAtURL(item), oracle::diffable(s)) << std::hex << s;
    ASSERT_EQ(repository->isRevertableItemAtURL(item), oracle::revertable(s)) << std::hex << s;
    ASSERT_EQ(repository->isTrackedItemAtURL(item), oracle::tracked(s)) << std::hex << s;
    ASSERT_EQ(repository->isConflictedItemAtURL(item), oracle::conflict(s)) << std::hex << s;
  }
}

// The letters of the questions that hold: staged, unstaged, diffable, discardable, revertable,
// tracked, and the conflict.
std::string answers(const KPRepository& repository, const URL& item) {
  std::string result;
  if (repository.isStagedItemAtURL(item)) result += "staged ";
  if (repository.isUnstagedItemAtURL(item)) result += "unstaged ";
  if (repository.isDiffableItemAtURL(item)) result += "diffable ";
  if (repository.isDiscardableItemAtURL(item)) result += "discardable ";
  if (repository.isRevertableItemAtURL(item)) result += "revertable ";
  if (repository.isTrackedItemAtURL(item)) result += "tracked ";
  return result + std::to_string(repository.isConflictedItemAtURL(item));
}

TEST_F(KPRepositoryTest, StagedAndChangedAgainIsUnstagedAndNotStaged) {
  send(statusInfo({{file("/r/a"), 0x0102}}));
  EXPECT_EQ(answers(*repository, url("/r/a")),
            "unstaged diffable discardable revertable tracked 0");
}

TEST_F(KPRepositoryTest, AnUntrackedItemIsTrackedButNotRevertable) {
  send(statusInfo({{file("/r/a"), 0x0080}}));
  EXPECT_EQ(answers(*repository, url("/r/a")), "unstaged diffable discardable tracked 0");
}

TEST_F(KPRepositoryTest, ACurrentItemIsRevertableAndTrackedAndNothingElse) {
  send(statusInfo({{file("/r/a"), 0}}));
  EXPECT_EQ(answers(*repository, url("/r/a")), "revertable tracked 0");
}

TEST_F(KPRepositoryTest, ConflictsWithAndWithoutAncestor) {
  send(statusInfo({{file("/r/a"), 0x9000}, {file("/r/b"), 0x8000}, {file("/r/c"), 0x8100}}));
  EXPECT_EQ(answers(*repository, url("/r/a")), "diffable discardable -1");
  EXPECT_EQ(answers(*repository, url("/r/b")), "diffable discardable 1");
  EXPECT_EQ(answers(*repository, url("/r/c")), "diffable discardable 1");
}

TEST_F(KPRepositoryTest, NoEntryIsNotTheWordZero) {
  file("/r/a");
  EXPECT_EQ(answers(*repository, url("/r/a")), "0") << "before the first status";
  send(statusInfo({{file("/r/b"), 0}}));
  EXPECT_EQ(answers(*repository, url("/r/a")), "0");
  EXPECT_EQ(answers(*repository, url("/r/none")), "0");
  EXPECT_EQ(word("/r/a"), std::nullopt);
}

TEST_F(KPRepositoryTest, OneItemIsLookedAtOnceForAllQuestions) {
  send(statusInfo({{file("/r/a"), 0x0102}}));
  platform.files->forgetCounts();
  EXPECT_EQ(word("/r/a"), 0x0102);
  EXPECT_EQ(platform.files->lookUps(), 1U);
}

// -- Status intake --------------------------------------------------------------------------------

TEST_F(KPRepositoryTest, IntakeReturnsAtOnceAndWorksOnTheUpdateQueue) {
  file("/r/a");
  repository->setStatusInfo(statusInfo({{"/r/a", 0x0100}}));
  EXPECT_EQ(word("/r/a"), std::nullopt);
  EXPECT_EQ(platform.queues.withLabel("org.kelpie.Kelpie.Sync.UpdateQueue").at(0)->pending(), 1U);
  platform.runAll();
  EXPECT_EQ(word("/r/a"), 0x0100);
}

TEST_F(KPRepositoryTest, ABareRepositoryTakesTheStateOnly) {
  Dictionary first = statusInfo({{file("/r/a"), 0x0100}});
  first.set("KPStatusIgnoredURLs", urls({"/r/i"}));
  first.set("KPStatusCreatedDirectoriesForDeletedItems", urls({"/r/c"}));
  send(first);
  ask("/r/a");
  platform.finder.forgetBadges();
  repository->refsManager()->setBare(true);
  Dictionary second = statusInfo({{"/r/a", 0x0001}});
  second.set("KPRepositoryState", 7);
  second.set("KPStatusDirtyURLs", Objects{});
  second.set("KPStatusNewCount", 5);
  send(second);
  EXPECT_EQ(repository->state(), 7);
  EXPECT_EQ(word("/r/a"), 0x0100);
  EXPECT_TRUE(repository->isDirty());
  EXPECT_TRUE(repository->isRealDirty());
  EXPECT_EQ(repository->dirtyUrls()->count(), 1U);
  EXPECT_EQ(repository->ignoredUrls()->count(), 1U);
  EXPECT_EQ(repository->createdDirectoriesForDeletedItems().size(), 1U);
  EXPECT_TRUE(platform.finder.badges().empty()) << "no badge is set anew";
}

TEST_F(KPRepositoryTest, OnlyNewItemsAreDirtyButNotReallyDirty) {
  Dictionary info = statusInfo({{file("/r/a"), 0x0080}, {file("/r/b"), 0x0080}});
  info.set("KPStatusNewCount", 2);
  send(info);
  EXPECT_TRUE(repository->isDirty());
  EXPECT_FALSE(repository->isRealDirty());
}

TEST_F(KPRepositoryTest, NoChangedItemIsNeitherDirtyNorReallyDirty) {
  send(statusInfo({{file("/r/a"), 0}}));
  EXPECT_FALSE(repository->isDirty());
  EXPECT_FALSE(repository->isRealDirty());
}

// A difference of two counts, and nothing more.
TEST_F(KPRepositoryTest, RealDirtyIsNoPartOfDirty) {
  Dictionary info = statusInfo({});
  info.set("KPStatusNewCount", 3);
  send(info);
  EXPECT_FALSE(repository->isDirty());
  EXPECT_TRUE(repository->isRealDirty());
}

TEST_F(KPRepositoryTest, EachStatusReplacesAllThatWasThere) {
  Dictionary first = statusInfo({{file("/r/a"), 0x0100}});
  first.set("KPStatusCreatedDirectoriesForDeletedItems", urls({"/r/c"}));
  first.set("KPRepositoryState", 3);
  send(first);
  file("/r/own");
  ask("/r/own");
  EXPECT_EQ(word("/r/own"), 0);
  platform.finder.forgetBadges();
  observedPaths->remove(*url("/r").identifier());
  send(Dictionary{});
  EXPECT_EQ(word("/r/a"), std::nullopt);
  EXPECT_EQ(word("/r/own"), std::nullopt) << "also what was recorded here";
  EXPECT_EQ(repository->state(), 0);
  EXPECT_FALSE(repository->isDirty());
  EXPECT_FALSE(repository->isRealDirty());
  EXPECT_EQ(repository->dirtyUrls()->count(), 0U);
  EXPECT_TRUE(repository->createdDirectoriesForDeletedItems().isNil());
}

TEST_F(KPRepositoryTest, EveryItemThatWasShownGetsItsBadgeAnew) {
  file("/r/a");
  file("/r/d/b");
  repository->addObservedURL(url("/r/a"));
  repository->addObservedURL(url("/r/d/b"));
  platform.finder.forgetBadges();
  send(statusInfo({{"/r/a", 0x0100}, {"/r/d/b", 0x0002}}));
  EXPECT_EQ(platform.finder.badges().size(), 2U);
  EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(platform.finder.badgeFor("/r/d/b"), "KPIndexModifiedBadge");
}

TEST_F(KPRepositoryTest, PathsOfRenamedItemsJoinTheSetsThatAreThere) {
  file("/r/d/old");
  const auto set = observedPaths->findOrCreate(*url("/r/d").identifier());
  Dictionary info = statusInfo({{"/r/d/old", 0x0800}});
  info.set("KPStatusObservedPathsForRenamedItems",
           Dictionary{{identifier("/r/d"), Objects{"/r/d/old", "/r/d/none"}}});
  send(info);
  EXPECT_TRUE(set->contains("/r/d/old"));
  EXPECT_EQ(set->size(), 2U);
  EXPECT_EQ(platform.finder.badgeFor("/r/d/old"), "KPWorkdirRenamedBadge");
  EXPECT_EQ(platform.finder.badgeFor("/r/d/none"), "KPEmptyBadge");
}

TEST_F(KPRepositoryTest, PathsOfRenamedItemsInAFolderThatIsNotShownAreDropped) {
  file("/r/d/old");
  Dictionary info = statusInfo({{"/r/d/old", 0x0800}});
  info.set("KPStatusObservedPathsForRenamedItems",
           Dictionary{{identifier("/r/d"), Objects{"/r/d/old"}}});
  send(info);
  EXPECT_TRUE(observedPaths->sets().empty());
  EXPECT_TRUE(platform.finder.badges().empty());
}

TEST_F(KPRepositoryTest, TheSetOfTheRootIsTheControllersOwn) {
  file("/r/a");
  file("/r/b");
  const auto shown = std::make_shared<PathSet>();
  observedPaths->set(*url("/r").identifier(), shown);
  shown->add("/r/a");
  repository->addObservedURL(url("/r/b"));
  EXPECT_TRUE(shown->contains("/r/b")) << "what the repository adds, the controller has";
  platform.finder.forgetBadges();
  send(statusInfo({{"/r/a", 0x0100}}));
  EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPWorkdirModifiedBadge") << "and the other way";
}

TEST_F(KPRepositoryTest, AskingForABadgeRecordsThePathUnderItsFolder) {
  file("/r/d/a");
  ask("/r/d/a");
  ask("/r/d/none");
  const auto set = observedPaths->find(*url("/r/d").identifier());
  ASSERT_NE(set, nullptr);
  EXPECT_TRUE(set->contains("/r/d/a"));
  EXPECT_TRUE(set->contains("/r/d/none"));
  EXPECT_EQ(ask("/nowhere/x"), "KPEmptyBadge") << "a badge is set also without a folder";
  EXPECT_EQ(observedPaths->sets().size(), 1U);
}

// -- Staging --------------------------------------------------------------------------------------

TEST_F(KPRepositoryTest, StagingChangesTheEntryAndTheBadge) {
  send(statusInfo({{file("/r/a"), 0x0100}, {file("/r/b"), 0x0080}}));
  repository->updateStagedStatus(urls({"/r/a", "/r/b"}));
  EXPECT_EQ(word("/r/a"), 0x0100) << "not before the queue runs";
  platform.runAll();
  EXPECT_EQ(word("/r/a"), 0x0002);
  EXPECT_EQ(word("/r/b"), 0x0001);
  EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPIndexModifiedBadge");
  EXPECT_EQ(platform.finder.badgeFor("/r/b"), "KPIndexNewBadge");
}

TEST_F(KPRepositoryTest, UnstagingChangesTheEntryAndTheBadge) {
  send(statusInfo({{file("/r/a"), 0x0018}}));
  repository->updateUnstagedStatus(urls({"/r/a"}));
  platform.runAll();
  EXPECT_EQ(word("/r/a"), 0x0400);
  EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPWorkdirTypeChangedBadge");
}

TEST_F(KPRepositoryTest, APlaceholderIsStagedUnderItsPath) {
  send(statusInfo({{gone("/r/a"), 0x0200}}));
  repository->updateStagedStatus(urls({gone("/r/a")}));
  platform.runAll();
  EXPECT_EQ(word(gone("/r/a")), 0x0004);
  EXPECT_EQ(platform.finder.badgeFor(gone("/r/a")), "KPIndexDeletedBadge");
}

TEST_F(KPRepositoryTest, AnItemWithoutEntryIsNotStagedButGetsItsBadge) {
  send(statusInfo({}));
  file("/r/a");
  repository->updateStagedStatus(urls({"/r/a", "/r/none"}));
  platform.runAll();
  EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPCurrentBadge");
  EXPECT_EQ(platform.finder.badgeFor("/r/none"), "KPEmptyBadge");
  EXPECT_EQ(word("/r/a"), 0) << "recorded with the badge";
}

TEST_F(KPRepositoryTest, AllEntriesChangeBeforeTheFirstBadge) {
  send(statusInfo({{file("/r/a"), 0x0100}}));
  repository->updateStagedStatus(urls({"/r/a", "/r/a"}));
  platform.runAll();
  const std::vector<FakeFinder::Badge> expected(2, {"KPCurrentBadge", "/r/a"});
  EXPECT_EQ(platform.finder.badges(), expected) << "staged twice: 0x0002, then 0";
}

TEST_F(KPRepositoryTest, StagingDoesNotTouchFolders) {
  showFolderStatus(true);
  send(statusInfo({{file("/r/d/a"), 0x0080}}));
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge");
  repository->updateStagedStatus(urls({"/r/d/a"}));
  platform.runAll();
  EXPECT_EQ(word("/r/d"), 0x0080);
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge") << "until the next status";
  send(statusInfo({{"/r/d/a", 0x0001}}));
  EXPECT_EQ(platform.finder.badgeFor("/r/d"), "KPIndexNewBadge");
}

TEST_F(KPRepositoryTest, StagingUsesTheRulesForEveryWord) {
  file("/r/a");
  const Object key = identifier("/r/a");
  for (unsigned s = 1; s <= 0xFFFF; s += 7) {
    for (const bool staged : {true, false}) {
      repository->setStatus(Dictionary{{key, Objects{static_cast<int>(s), "/r/a"}}});
      if (staged)
        repository->updateStagedStatus(urls({"/r/a"}));
      else
        repository->updateUnstagedStatus(urls({"/r/a"}));
      platform.runAll();
      ASSERT_EQ(word("/r/a"), staged ? oracle::afterStaging(s) : oracle::afterUnstaging(s))
          << std::hex << s;
    }
  }
}

TEST_F(KPRepositoryTest, StagedAndUnstagedStatusAreTheRules) {
  EXPECT_EQ(KPRepository::stagedStatusForStatus(0x0084), 0x0000);
  EXPECT_EQ(KPRepository::stagedStatusForStatus(0x0004), 0x0002);
  EXPECT_EQ(KPRepository::stagedStatusForStatus(0x0208), 0x0004);
  EXPECT_EQ(KPRepository::stagedStatusForStatus(0x0108), 0x0008);
  EXPECT_EQ(KPRepository::stagedStatusForStatus(0x0100), 0x0002);
  EXPECT_EQ(KPRepository::stagedStatusForStatus(0x4000), 0x0000);
  EXPECT_EQ(KPRepository::unstagedStatusForStatus(0x0102), 0x0100);
  EXPECT_EQ(KPRepository::unstagedStatusForStatus(0x0100), 0x0000);
  EXPECT_EQ(KPRepository::unstagedStatusForStatus(0x0018), 0x0400);
}

}  // namespace
}  // namespace kelpie
