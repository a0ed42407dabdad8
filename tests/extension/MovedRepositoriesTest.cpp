#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/RepositoryTable.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

constexpr int kModified = 0x0100;
constexpr int kNew = 0x0001;
constexpr int kDeleted = 0x0200;

// Working copies that move, or come again, while they are open and shown. With references that
// follow a folder that moves, and with references that are paths.
class MovedRepositories : public ControllerFixture, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    fakes.files->setReferencesFollow(GetParam());
    startWithApplication();
  }

  // A working copy with an item in its root and one in a folder.
  void make(const std::string& root) {
    fakes.files->addFolder(root + "/.git");
    for (const std::string& item : itemsOf(root)) fakes.files->addFile(item);
  }
  static std::vector<std::string> itemsOf(const std::string& root) {
    return {root + "/x", root + "/sub/y"};
  }
  // The folders of the working copy come into view, and the host asks for their items.
  void show(const std::string& root) {
    comesIntoView(root);
    for (const std::string& item : itemsOf(root)) request(item);
  }
  // The same for a host that knows the items' badges.
  void comesIntoView(const std::string& root) {
    controller->beginObservingDirectoryAtURL(URL::fileURLWithPath(root, true));
    controller->beginObservingDirectoryAtURL(URL::fileURLWithPath(root + "/sub", true));
    fakes.runAll();
  }
  void request(const std::string& path) {
    controller->requestBadgeIdentifierForURL(URL::fileURLWithPath(path));
    fakes.runAll();
  }
  void open(const std::string& root) {
    deliver("openRepositoryWithUrls:",
            Objects{URL::fileURLWithPath(root, true), URL::fileURLWithPath(root + "/.git", true)});
  }
  // A status in which the items of the working copy have this word.
  Dictionary statusOf(const std::string& root, int word) const {
    Dictionary entries;
    Objects dirty;
    for (const std::string& item : itemsOf(root)) {
      const URL url = URL::fileURLWithPath(item);
      entries.set(Object(identifierOf(url)), Objects{word, item});
      dirty.emplace_back(url);
    }
    return {{"KPRepositoryStatus", Object(std::move(entries)).mutableCopy()},
            {"KPStatusDirtyURLs", dirty}};
  }
  void sendStatus(const std::string& root, int word) {
    deliver("setStatusInfo:", statusOf(root, word),
            Object(identifierOf(URL::fileURLWithPath(root))));
  }
  void swap(const std::string& one, const std::string& other) {
    fakes.files->move(one, "/code/aside");
    fakes.files->move(other, one);
    fakes.files->move("/code/aside", other);
  }

  // The badges of the two items; "-" for none.
  std::vector<std::string> badgesOf(const std::string& root) const {
    std::vector<std::string> badges;
    for (const std::string& item : itemsOf(root))
      badges.push_back(fakes.finder.badgeFor(item).value_or("-"));
    return badges;
  }
  static std::vector<std::string> both(const std::string& badge) { return {badge, badge}; }
};

INSTANTIATE_TEST_SUITE_P(References, MovedRepositories, testing::Bool(), [](const auto& mode) {
  return std::string(mode.param ? "ThatFollow" : "ThatArePaths");
});

TEST_P(MovedRepositories, ARenamedOneIsFoundUnderItsNewName) {
  for (const bool isShownFirst : {true, false}) {
    const std::string from = isShownFirst ? "/code/a" : "/code/c";
    const std::string to = isShownFirst ? "/code/b" : "/code/d";
    make(from);
    open(from);
    show(from);
    sendStatus(from, kModified);
    ASSERT_EQ(badgesOf(from), both("KPWorkdirModifiedBadge"));

    fakes.files->move(from, to);
    if (isShownFirst) comesIntoView(to);
    open(to);
    if (!isShownFirst) comesIntoView(to);
    fakes.finder.forgetBadges();
    sendStatus(to, kNew);
    EXPECT_EQ(badgesOf(to), both("KPIndexNewBadge")) << isShownFirst;
    request(to + "/x");
    EXPECT_EQ(badgesOf(to), both("KPIndexNewBadge")) << isShownFirst;
    const auto held = repositoryOf(URL::fileURLWithPath(to));
    EXPECT_EQ(controller->repositoryForURL(URL::fileURLWithPath(to + "/sub/y")), held);
    EXPECT_TRUE(held->isInPlace());
  }
  EXPECT_EQ(controller->repositories().size(), 2U);
}

TEST_P(MovedRepositories, OneThatIsClonedAgainTakesThePlaceOfTheDeletedOne) {
  make("/code/a");
  open("/code/a");
  show("/code/a");
  sendStatus("/code/a", kModified);
  const URL item = URL::fileURLWithPath("/code/a/sub/y");
  const std::weak_ptr<KPRepository> former = controller->repositoryForURL(item);

  fakes.files->remove("/code/a");
  make("/code/a");
  EXPECT_EQ(controller->repositoryForURL(item), nullptr) << "the former one is not there any more";
  open("/code/a");
  EXPECT_TRUE(former.expired());
  EXPECT_EQ(controller->repositories().size(), 1U);
  EXPECT_EQ(controller->repositoryForURL(item), repositoryOf(URL::fileURLWithPath("/code/a")));
  fakes.finder.forgetBadges();
  sendStatus("/code/a", kNew);
  EXPECT_EQ(badgesOf("/code/a"), both("KPIndexNewBadge")) << "without being asked for again";

  // What was noted under the former folders goes with the new ones.
  controller->endObservingDirectoryAtURL(URL::fileURLWithPath("/code/a", true));
  controller->endObservingDirectoryAtURL(URL::fileURLWithPath("/code/a/sub", true));
  fakes.runAll();
  std::size_t left = 0;
  for (const auto& [folder, paths] : controller->allObservedFiles()->entries())
    left += paths->size();
  EXPECT_EQ(left, 0U);
}

// What was shown in the deleted one goes from view under the identifier of the new one.
TEST_P(MovedRepositories, AFolderInOneThatIsClonedAgainIsNotAskedForOnceItWentFromView) {
  chooseFolders({"/code"});
  make("/code/a");
  open("/code/a");
  show("/code/a");
  fakes.files->remove("/code/a");
  make("/code/a");
  open("/code/a");
  controller->endObservingDirectoryAtURL(URL::fileURLWithPath("/code/a/sub", true));
  controller->endObservingDirectoryAtURL(URL::fileURLWithPath("/code/a", true));
  fakes.runAll();
  quitApplication();
  fakes.messagePorts.forgetSent();
  launchApplication("1", 800);
  fakes.notifications.deliver("KPApplicationRunning", "");
  fakes.runAll();
  std::vector<std::string> asked;
  for (const Message& message : sentWith("openRepository:portName:"))
    asked.push_back(message.content["KPMessageArgument"]["url"].url().value().path());
  EXPECT_EQ(asked, std::vector<std::string>{"/code/a"}) << "which its own folder's end lets go";
}

TEST_P(MovedRepositories, TwoThatChangePlacesAnswerForTheirNewPlaces) {
  for (const bool isFirstFirst : {true, false}) {
    const std::string one = isFirstFirst ? "/code/a" : "/code/c";
    const std::string other = isFirstFirst ? "/code/b" : "/code/d";
    for (const std::string& root : {one, other}) {
      make(root);
      open(root);
      show(root);
    }
    sendStatus(one, kModified);
    sendStatus(other, kDeleted);

    swap(one, other);
    open(isFirstFirst ? one : other);
    open(isFirstFirst ? other : one);
    sendStatus(one, kDeleted);
    sendStatus(other, kModified);
    EXPECT_EQ(badgesOf(one), both("KPWorkdirDeletedBadge")) << isFirstFirst;
    EXPECT_EQ(badgesOf(other), both("KPWorkdirModifiedBadge")) << isFirstFirst;
    sendStatus(one, kNew);
    EXPECT_EQ(badgesOf(one), both("KPIndexNewBadge")) << isFirstFirst;
    EXPECT_EQ(badgesOf(other), both("KPWorkdirModifiedBadge")) << isFirstFirst;
    EXPECT_EQ(controller->repositoryForURL(URL::fileURLWithPath(one + "/x")),
              repositoryOf(URL::fileURLWithPath(one)));
  }
}

// What was shown while they stood in each other's place is their own again.
TEST_P(MovedRepositories, TwoThatChangePlacesAndBackAnswerForTheirOwnPlaces) {
  for (const char* root : {"/code/a", "/code/b"}) {
    make(root);
    open(root);
    sendStatus(root, kModified);
  }
  swap("/code/a", "/code/b");
  show("/code/b");
  swap("/code/a", "/code/b");
  open("/code/a");
  open("/code/b");
  sendStatus("/code/a", kNew);
  sendStatus("/code/b", kDeleted);
  if (GetParam()) {
    EXPECT_EQ(badgesOf("/code/b"), both("KPWorkdirDeletedBadge"));
  } else {
    // Nobody answered for them then. A file manager asks anew after it has seen them go and come.
    for (const std::string& item : itemsOf("/code/b")) request(item);
    EXPECT_EQ(badgesOf("/code/b"), both("KPWorkdirDeletedBadge"));
  }
}

// The second is opened in the first one's place; then each is where its folder was at first. That
// the second has moved on is seen only when the first has been opened again.
TEST_P(MovedRepositories, OneThatIsBackTakesOverWhatAnotherShowedInItsPlace) {
  make("/code/a");
  make("/code/b");
  open("/code/a");
  swap("/code/a", "/code/b");
  open("/code/a");
  sendStatus("/code/a", kModified);
  show("/code/a");
  swap("/code/a", "/code/b");
  open("/code/a");
  open("/code/b");
  sendStatus("/code/b", kDeleted);
  sendStatus("/code/a", kNew);
  EXPECT_EQ(badgesOf("/code/a"), both("KPIndexNewBadge"));
}

// Its openings were sent before anything was heard of the first, and two of them came before it
// moved.
TEST_P(MovedRepositories, OneThatIsOpenedOnceMoreElsewhereLeavesItsFormerPlace) {
  make("/code/a");
  make("/code/b");
  const auto openLater = [this](const std::string& root) {
    controller->openRepositoryWithUrls(
        Objects{URL::fileURLWithPath(root, true), URL::fileURLWithPath(root + "/.git", true)});
  };
  openLater("/code/a");
  for (const std::string& item : itemsOf("/code/a"))
    controller->requestBadgeIdentifierForURL(URL::fileURLWithPath(item));
  openLater("/code/a");
  openLater("/code/b");
  ManualQueue& queue = *fakes.queues.withLabel("org.kelpie.Kelpie.Sync.ObserverQueue").at(0);
  ASSERT_TRUE(queue.runOne());
  ASSERT_TRUE(queue.runOne());
  ASSERT_EQ(badgesOf("/code/a"), both("KPCurrentBadge"));
  swap("/code/a", "/code/b");
  fakes.runAll();
  sendStatus("/code/a", kDeleted);
  EXPECT_EQ(badgesOf("/code/a"), both("KPWorkdirDeletedBadge"));
}

TEST_P(MovedRepositories, AStatusSetsNoBadgeWhereAnotherOneStandsNow) {
  for (const char* root : {"/code/a", "/code/b"}) {
    make(root);
    open(root);
    show(root);
    sendStatus(root, kModified);
  }
  swap("/code/a", "/code/b");
  open("/code/b");  // the one that was at /code/a; the other's opening is still on its way
  sendStatus("/code/b", kNew);
  fakes.finder.forgetBadges();
  sendStatus("/code/a", kDeleted);
  sendStatus("/code/b", kNew);
  EXPECT_EQ(badgesOf("/code/b"), both("KPIndexNewBadge")) << "of the one that is there";
}

TEST_P(MovedRepositories, ANewOneOnTheInodeOfAnOldOneIsOpened) {
  make("/code/a");
  open("/code/a");
  show("/code/a");
  sendStatus("/code/a", kModified);
  const Object inode(identifierOf(URL::fileURLWithPath("/code/a")));
  const Object folder(identifierOf(URL::fileURLWithPath("/code/a/sub")));

  fakes.files->remove("/code/a");
  make("/code/c");
  fakes.files->setIdentifier("/code/c", inode);
  fakes.files->setIdentifier("/code/c/sub", folder);
  comesIntoView("/code/c");
  open("/code/c");
  ASSERT_EQ(controller->repositories().size(), 1U);
  fakes.finder.forgetBadges();
  sendStatus("/code/c", kNew);
  EXPECT_EQ(badgesOf("/code/c"), both("KPIndexNewBadge"));
  EXPECT_EQ(badgesOf("/code/a"), both("-")) << "nothing is there";
}

TEST_P(MovedRepositories, OneThatIsMovedAwayAnswersForItsFormerPlaceNoMore) {
  make("/code/a");
  open("/code/a");
  sendStatus("/code/a", kModified);
  fakes.files->move("/code/a", "/code/b");
  fakes.files->addFile("/code/a/x");
  fakes.finder.forgetBadges();
  request("/code/a/x");
  EXPECT_EQ(fakes.finder.badgeFor("/code/a/x"), std::nullopt) << "a folder like any other";
  // A reference follows; a path waits for the opening.
  request("/code/b/x");
  EXPECT_EQ(fakes.finder.badgeFor("/code/b/x").has_value(), GetParam());
}

TEST_P(MovedRepositories, WhatWasShownBeforeTheFirstOpeningIsInItsPlace) {
  make("/code/a");
  make("/code/b");
  show("/code/a");
  show("/code/b");
  swap("/code/a", "/code/b");
  open("/code/a");
  open("/code/b");
  sendStatus("/code/a", kModified);
  sendStatus("/code/b", kNew);
  EXPECT_EQ(fakes.finder.badgeFor("/code/a/x"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(fakes.finder.badgeFor("/code/b/x"), "KPIndexNewBadge");
}

TEST_P(MovedRepositories, OneInItsPlaceIsNotOpenedAnew) {
  make("/code/a");
  open("/code/a");
  const auto held = repositoryOf(URL::fileURLWithPath("/code/a"));
  open("/code/a");
  EXPECT_EQ(repositoryOf(URL::fileURLWithPath("/code/a")), held);
}

TEST_P(MovedRepositories, ARequestLooksAtTheRepositoryThatHoldsItAndNoOther) {
  make("/code/a");
  open("/code/a");
  sendStatus("/code/a", kModified);
  request("/code/a/x");
  fakes.files->forgetCounts();
  request("/code/a/x");
  const std::size_t looks = fakes.files->lookUps();
  for (int i = 0; i < 50; ++i) {
    make("/other/" + std::to_string(i));
    open("/other/" + std::to_string(i));
  }
  fakes.files->forgetCounts();
  request("/code/a/x");
  EXPECT_EQ(fakes.files->lookUps(), looks);
}

}  // namespace
}  // namespace kelpie
