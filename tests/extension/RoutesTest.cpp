#include <gtest/gtest.h>

#include "extension/ControllerFixture.h"
#include "extension/ControllerRoutes.h"
#include "extension/RepositoryRoutes.h"
#include "extension/RepositoryTable.h"
#include "refs/KPRefsManager.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

template <class T>
std::set<std::string_view> selectorsOf(std::span<const Route<T>> routes) {
  std::set<std::string_view> selectors;
  for (const Route<T>& route : routes) {
    EXPECT_TRUE(selectors.insert(route.selector).second) << route.selector << " stands there twice";
    EXPECT_NE(route.call, nullptr) << route.selector;
  }
  return selectors;
}

using Selectors = std::set<std::string_view>;

TEST(Routes, OfTheControllerAreItsOperationsOfOneObjectOrNone) {
  // clang-format off
  const Selectors wanted = {
      // Life and state.
      "init", "dealloc", "toolbarItemName", "toolbarItemToolTip", "toolbarItemImage",
      "repositories", "setRepositories:", "allObservedFiles", "setAllObservedFiles:",
      "inactiveObservedFiles", "setInactiveObservedFiles:", "observedDirectories",
      "setObservedDirectories:", "observerQueue", "setObserverQueue:", "port", "setPort:",
      "senderObjects", "setSenderObjects:", "referenceses", "setReferenceses:", "stasheses",
      "setStasheses:", "gitflowInfos", "setGitflowInfos:", "bares", "setBares:", "gitlfss",
      "setGitlfss:", "headBranches", "setHeadBranches:", "hasHeadCommits", "setHasHeadCommits:",
      "targetURLs", "setTargetURLs:", "applicationPid", "setApplicationPid:", "monitor",
      "setMonitor:", "portName", "setPortName:",
      // The main application's presence.
      "updateApplicationRunning:",
      // Folders and repositories.
      "updateFolders", "beginObservingDirectoryAtURL:", "endObservingDirectoryAtURL:",
      "requestBadgeIdentifierForURL:", "repositoryForURL:", "openRepositoryWithUrls:",
      // Actions.
      "remoteRepositoryAction:",
      "addRemote:", "addSubmodule:", "applyPatch:", "applyStash:", "blameItems:", "checkout:",
      "commit:", "compareCommits:", "createBranch:", "createPullRequest:", "createTag:",
      "deleteBranches:", "deleteRemoteBranches:", "deleteRemotes:", "deleteStashes:",
      "deleteSubmodules:", "deleteTags:", "diff:", "discard:", "discardAll:", "excludeItems:",
      "exportCommits:", "externalDiff:", "fastForward:", "fetch:", "finishGitflowFeature:",
      "finishGitflowHotfix:", "finishGitflowRelease:", "historyItems:", "ignoreItems:",
      "lfsFetch:", "lfsPrune:", "lfsPush:", "merge:", "prune:", "pull:", "push:", "rebase:",
      "renameBranch:", "renameRemoteBranch:", "reset:", "resolve:", "restore:", "revertItems:",
      "saveStash:", "showBrowser:", "showRemoteSettings:", "showSettings:",
      "showSubmoduleSettings:", "stage:", "startGitflowFeature:", "startGitflowHotfix:",
      "startGitflowRelease:", "unstage:", "untrackItems:",
      "quit:", "showAboutPanel:", "showConfiguration:", "showPreferences:",
      "clone:", "createRepository:",
  };
  // clang-format on
  EXPECT_EQ(selectorsOf(controllerRoutes()), wanted);
}

TEST(Routes, OfARepositoryAreItsOperationsOfOneObject) {
  // clang-format off
  const Selectors wanted = {
      "setIdentifier:", "setGitUrl:", "setState:", "setStatus:", "setDirty:", "setRealDirty:",
      "setDisabled:", "setCreatedDirectoriesForDeletedItems:", "setDirtyUrls:", "setIgnoredUrls:",
      "setDeletedUrls:", "setRefsManager:", "setUpdateQueue:",
      "addObservedURL:", "setStatusInfo:", "updateStagedStatus:", "updateUnstagedStatus:",
      "updateBadges:", "updateBadgeIdentifierForURL:", "updateStatusOfDirectoryURL:",
      "setReferences:", "setStashes:", "setGitflowInfo:", "setHeadBranch:", "setBare:",
      "setHasGitlfs:", "setHasHeadCommit:",
      "identifierForUrl:", "isStagedItemAtURL:", "isUnstagedItemAtURL:", "isDiffableItemAtURL:",
      "isDiscardableItemAtURL:", "isRevertableItemAtURL:", "isTrackedItemAtURL:",
      "isConflictedItemAtURL:", "isParentIgnoredUrl:", "badgeIdentifierForStatus:",
      "stashesMenuWithAction:", "remotesMenuWithAction:", "submodulesMenuWithAction:",
      "pullRequestsMenuWithAction:",
  };
  // clang-format on
  EXPECT_EQ(selectorsOf(repositoryRoutes()), wanted);
}

TEST(Routes, ThatAMenuItemCanBearAreTheActions) {
  const Selectors actions = selectorsOf(actionRoutes());
  EXPECT_EQ(actions.size(), 62U);
  for (const char* action : {"addRemote:", "stage:", "remoteRepositoryAction:", "quit:", "clone:",
                             "createRepository:"}) {
    EXPECT_TRUE(actions.contains(action)) << action;
  }
  for (const char* other : {"openRepositoryWithUrls:", "setRepositories:", "init"}) {
    EXPECT_FALSE(actions.contains(other)) << other;
  }
}

// Which of the two is asked first matters only where both know a selector, and none do: were one
// to join both tables, the controller would take it from the repository.
TEST(Routes, OfTheTwoHaveNothingInCommon) {
  const Selectors repository = selectorsOf(repositoryRoutes());
  for (const std::string_view selector : selectorsOf(controllerRoutes())) {
    EXPECT_FALSE(repository.contains(selector)) << selector;
  }
}

// -- Every route, with every class of argument ----------------------------------------------------

class EveryRoute : public ControllerFixture {
 protected:
  void SetUp() override {
    startWithApplication();
    root = openRepository("/work/repo");
    file = fakes.files->addFile("/work/repo/file");
    const auto item = std::make_shared<const MenuItem>("Item", "stage:");
    arguments = {
        Object(),
        true,
        0,
        -1,
        std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(),
        "text",
        Bytes{1, 2, 3},
        Object::date(5),
        *file,
        *URL::fromString("https://host/path"),
        Objects{},
        Objects{Object(5), Object("x"), Object(*file), Object(Objects{}), Object(Dictionary{})},
        Object::set({Object(*root), Object(7)}),
        Dictionary{},
        Dictionary{{5, 6}, {"urls", Objects{5, *file}}, {"badge", 5}, {*file, Objects{}}},
        Dictionary{{"KPRepositoryStatus", 5},
                   {"KPStatusDirtyURLs", "text"},
                   {"KPStatusObservedPathsForRenamedItems", Objects{1}}},
        Error{"domain", 1, Object()},
        std::shared_ptr<const Archivable>(item)};
  }

  std::optional<URL> root;
  std::optional<URL> file;
  std::vector<Object> arguments;
};

TEST_F(EveryRoute, OfTheControllerTakesAnyArgumentAndTheNextMessageIsServed) {
  for (const Route<KPKelpieSync>& route : controllerRoutes()) {
    for (const Object& argument : arguments) {
      controller->setTargetURLs(std::vector<URL>{*file});
      try {
        handle(route.selector, argument);
      } catch (const std::invalid_argument&) {
        // A message that would have held nothing.
      }
      fakes.runAll();
    }
    controller->setApplicationPid(-1);
    launchApplication();
    controller->setPortName("port");
    controller->updateApplicationRunning();
    openRepository("/work/repo");
    EXPECT_EQ(controller->repositories().size(), 1U) << route.selector;
    fakes.messagePorts.forgetSent();
    handle("quit:", 1);
    EXPECT_EQ(sent().size(), 1U) << route.selector;
  }
}

TEST_F(EveryRoute, OfARepositoryTakesAnyArgumentAndTheNextMessageIsServed) {
  const FileIdentifier target = identifierOf(*root);
  for (const Route<KPRepository>& route : repositoryRoutes()) {
    for (const Object& argument : arguments) {
      handle(route.selector, argument, target);
      fakes.runAll();
    }
    handle("setState:", 42, target);
    EXPECT_EQ(repositoryOf(*root)->state(), 42) << route.selector;
    fakes.finder.forgetBadges();
    handle("updateBadges:", Dictionary{{"urls", Objects{*file}}, {"badge", "B"}}, target);
    EXPECT_EQ(fakes.finder.badgeFor("/work/repo/file"), "B") << route.selector;
  }
}

template <bool (KPRefsManager::*Answer)() const>
bool references(const KPRepository& repository) {
  return (repository.refsManager().get()->*Answer)();
}

// -- What the repository's property setters take --------------------------------------------------

TEST_F(EveryRoute, SettersWhoseArgumentIsNoObjectTakeTheNumber) {
  const FileIdentifier target = identifierOf(*root);
  const KPRepository& repository = *repositoryOf(*root);
  handle("setState:", 7.9, target);
  EXPECT_EQ(repository.state(), 7);
  handle("setState:", "text", target);
  EXPECT_EQ(repository.state(), 0);

  struct Flag {
    std::string_view selector;
    std::function<bool(const KPRepository&)> value;
  };
  const Flag flags[] = {{"setDirty:", &KPRepository::isDirty},
                        {"setRealDirty:", &KPRepository::isRealDirty},
                        {"setDisabled:", &KPRepository::isDisabled},
                        {"setBare:", references<&KPRefsManager::isBare>},
                        {"setHasGitlfs:", references<&KPRefsManager::hasGitlfs>},
                        {"setHasHeadCommit:", references<&KPRefsManager::hasHeadCommit>}};
  for (const Flag& flag : flags) {
    for (const Object& yes : {Object(true), Object(1), Object(-3), Object(0.5)}) {
      handle(flag.selector, yes, target);
      EXPECT_TRUE(flag.value(repository)) << flag.selector << yes.description();
    }
    for (const Object& no : {Object(false), Object(0), Object(), Object(Objects{1})}) {
      handle(flag.selector, true, target);
      handle(flag.selector, no, target);
      EXPECT_FALSE(flag.value(repository)) << flag.selector << no.description();
    }
  }
}

}  // namespace
}  // namespace kelpie
