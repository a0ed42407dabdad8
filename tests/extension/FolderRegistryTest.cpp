#include "extension/FolderRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "extension/ControllerFixture.h"
#include "foundation/Error.h"
#include "platform/BookmarkResolution.h"
#include "status/KPRepository.h"
#include "support/InterruptedFileSystem.h"

namespace kelpie {
namespace {

using Paths = std::vector<std::string>;

class FolderRegistryTest : public ControllerFixture {
 protected:
  // The paths noted for the folder; absent when there is no entry.
  std::optional<Paths> observed(std::string_view folder) const {
    const auto identifier = URL::fileURLWithPath(folder).identifier(*fakes.files);
    const auto set = identifier ? controller->allObservedFiles()->find(*identifier) : nullptr;
    if (set == nullptr) return std::nullopt;
    Paths paths = set->paths();
    std::ranges::sort(paths);
    return paths;
  }

  // The folders noted under the parent; absent when there is no entry.
  std::optional<Paths> inactive(std::string_view parent) const {
    const auto identifier = URL::fileURLWithPath(parent).identifier(*fakes.files);
    for (const auto& [key, folders] : controller->folders().inactiveFolders()) {
      if (key == identifier) {
        Paths paths;
        for (const URL& url : folders) paths.push_back(url.path());
        return paths;
      }
    }
    return std::nullopt;
  }

  Paths observedDirectories() const {
    Paths paths;
    for (const URL& url : controller->folders().observedDirectories()) paths.push_back(url.path());
    return paths;
  }

  void begin(const URL& url) {
    controller->beginObservingDirectoryAtURL(url);
    fakes.runAll();
  }
  void end(const URL& url) {
    controller->endObservingDirectoryAtURL(url);
    fakes.runAll();
  }
  void request(const URL& url) {
    controller->requestBadgeIdentifierForURL(url);
    fakes.runAll();
  }
};

// -- updateFolders --------------------------------------------------------------------------------

class UpdateFolders : public FolderRegistryTest {
 protected:
  void SetUp() override {
    startWithApplication();
    chooseFolders({"/former"});
    fakes.events.clear();
  }

  void store(const Object& bookmarks) {
    fakes.groupDefaults().changeFromOutside("KPFoldersPaths", bookmarks);
  }
  Bytes bookmark(std::string_view path) {
    fakes.files->addFolder(path);
    return fakes.files->addBookmark(path);
  }
  Bytes failing(std::optional<Error> error) {
    const Bytes data = {0xba, 0xd0, static_cast<std::uint8_t>(error.has_value())};
    fakes.files->setBookmark(data, {std::nullopt, false, std::move(error)});
    return data;
  }
  Lines directories() const { return fakes.events.linesWith("finder.directories"); }
};

TEST_F(UpdateFolders, HandsTheFoldersOnInOrder) {
  store(Objects{bookmark("/b"), bookmark("/a")});
  EXPECT_EQ(directories(), Lines{"finder.directories /b /a"});
  EXPECT_TRUE(sent().empty());
}

TEST_F(UpdateFolders, AnEmptyListClearsTheFolders) {
  store(Objects{});
  EXPECT_TRUE(fakes.finder.directoryURLs().empty());
  EXPECT_EQ(directories().size(), 1U);
}

TEST_F(UpdateFolders, AMissingValueAndOneOfAnotherClassCountAsEmpty) {
  for (const Object& value : {Object(), Object("text"), Object(Dictionary{{"a", 1}})}) {
    chooseFolders({"/former"});
    store(value);
    EXPECT_TRUE(fakes.finder.directoryURLs().empty()) << value.description();
  }
}

TEST_F(UpdateFolders, AnElementThatIsNoDataStopsSilentlyAndChangesNothing) {
  store(Objects{bookmark("/a"), "no data", bookmark("/b")});
  EXPECT_EQ(directories(), Lines{});
  EXPECT_TRUE(sent().empty());
  EXPECT_TRUE(appMessages().empty());
}

TEST_F(UpdateFolders, NoDataWinsOverAnErrorBeforeIt) {
  const Bytes withError = bookmark("/a");
  fakes.files->setBookmark(withError,
                           {fakes.files->addFolder("/a"), false, Error{"domain", 1, {}}});
  store(Objects{withError, 5});
  EXPECT_EQ(directories(), Lines{});
  EXPECT_TRUE(sent().empty());
}

TEST_F(UpdateFolders, AnErrorIsSentAndChangesNothing) {
  store(
      Objects{bookmark("/a"), failing(Error{"NSCocoaErrorDomain", 260, Object()}), bookmark("/b")});
  EXPECT_EQ(directories(), Lines{});
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_EQ(sent()[0].id, 1);
  EXPECT_EQ(sent()[0].content["KPMessageSelector"].stringValue(), "showError:");
  const auto error = sent()[0].content["KPMessageArgument"].error();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(error->code, 260);
}

TEST_F(UpdateFolders, AFailureWithoutAnErrorEndsTheWalkAndSetsTheFoldersSoFar) {
  store(Objects{bookmark("/a"), failing(std::nullopt), bookmark("/b")});
  EXPECT_EQ(directories(), Lines{"finder.directories /a"});
  EXPECT_TRUE(sent().empty());
}

TEST_F(UpdateFolders, NothingAfterAFailureIsLookedAt) {
  store(Objects{bookmark("/a"), failing(std::nullopt), "no data"});
  EXPECT_EQ(directories(), Lines{"finder.directories /a"});
}

TEST_F(UpdateFolders, AStaleBookmarkCounts) {
  const Bytes data = bookmark("/a");
  fakes.files->setBookmark(data, {fakes.files->addFolder("/a"), true, std::nullopt});
  store(Objects{data});
  EXPECT_EQ(directories(), Lines{"finder.directories /a"});
}

TEST_F(UpdateFolders, HandsOnFileReferencesAndTheUrlItselfWhereThereIsNone) {
  fakes.files->addFolder("/data/folder");
  fakes.files->addLink("/link", "/data");
  const Bytes linked = {1};
  fakes.files->setBookmark(linked,
                           {URL::fileURLWithPath("/link/folder", true), false, std::nullopt});
  const Bytes gone = {2};
  fakes.files->setBookmark(gone, {URL::fileURLWithPath("/gone", true), false, std::nullopt});
  store(Objects{linked, gone});
  EXPECT_EQ(directories(), Lines{"finder.directories /data/folder /gone"});
}

TEST_F(UpdateFolders, AFolderThatStandsThereTwiceIsHandedOnOnce) {
  store(Objects{bookmark("/a"), bookmark("/b"), bookmark("/a")});
  EXPECT_EQ(directories(), Lines{"finder.directories /a /b"});
}

// -- beginObservingDirectoryAtURL -----------------------------------------------------------------

TEST_F(FolderRegistryTest, TheCallbacksReturnBeforeTheirWork) {
  startWithApplication();
  const URL folder = fakes.files->addFolder("/work/folder");
  fakes.files->forgetCounts();
  controller->beginObservingDirectoryAtURL(folder);
  controller->requestBadgeIdentifierForURL(folder);
  controller->endObservingDirectoryAtURL(folder);
  EXPECT_EQ(fakes.files->lookUps(), 0U);
  EXPECT_EQ(fakes.files->listings(), 0U);
  EXPECT_TRUE(sent().empty());
  const auto queues = fakes.queues.withLabel("org.kelpie.Kelpie.Sync.ObserverQueue");
  ASSERT_EQ(queues.size(), 1U);
  EXPECT_EQ(queues[0]->pending(), 3U);
}

TEST_F(FolderRegistryTest, BeginAsksForTheRepositoryAndNotesTheFolder) {
  startWithApplication();
  const URL folder = fakes.files->addFolder("/work/folder");
  fakes.files->addFile("/work/folder/a");
  fakes.files->addFile("/work/folder/.hidden");
  begin(folder);
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_EQ(sent()[0].id, 1);
  EXPECT_EQ(sent()[0].content["KPMessageSelector"].stringValue(), "openRepository:portName:");
  const Object argument = sent()[0].content["KPMessageArgument"];
  EXPECT_EQ(argument.size(), 2U);
  EXPECT_EQ(argument["url"].url().value().path(), "/work/folder");
  EXPECT_EQ(argument["shallow"].kind(), Object::Kind::Boolean);
  EXPECT_FALSE(argument["shallow"].boolValue());
  EXPECT_EQ(observedDirectories(), Paths{"/work/folder"});
  EXPECT_EQ(inactive("/work"), Paths{"/work/folder"});
  EXPECT_EQ(observed("/work/folder"), (Paths{"/work/folder/.hidden", "/work/folder/a"}));
}

TEST_F(FolderRegistryTest, WithoutTheApplicationBeginSendsNothingAndNotesTheFolder) {
  start();
  fakes.files->addFile("/work/folder/a");
  begin(fakes.files->addFolder("/work/folder"));
  EXPECT_TRUE(sent().empty());
  EXPECT_TRUE(appMessages().empty());
  EXPECT_EQ(observedDirectories(), Paths{});
  EXPECT_EQ(inactive("/work"), Paths{"/work/folder"});
  EXPECT_EQ(observed("/work/folder"), Paths{"/work/folder/a"});
  EXPECT_EQ(fakes.files->listings(), 1U);
}

TEST_F(FolderRegistryTest, BeginInsideARepositoryBadgesEveryItemInTheListingsOrder) {
  startWithApplication();
  openRepository("/work/repo");
  for (const char* name : {"c", "a", "b"})
    fakes.files->addFile(std::string("/work/repo/src/") + name);
  fakes.events.clear();
  begin(URL::fileURLWithPath("/work/repo/src", true));
  EXPECT_EQ(fakes.events.linesWith("finder.badge"),
            (Lines{"finder.badge KPCurrentBadge /work/repo/src/c",
                   "finder.badge KPCurrentBadge /work/repo/src/a",
                   "finder.badge KPCurrentBadge /work/repo/src/b"}));
  EXPECT_EQ(fakes.events.count("files.list"), 1U) << "one listing serves both";
  EXPECT_EQ(observed("/work/repo/src"),
            (Paths{"/work/repo/src/a", "/work/repo/src/b", "/work/repo/src/c"}));
}

TEST_F(FolderRegistryTest, BeginLooksAtEachItemOnce) {
  startWithApplication();
  openRepository("/work/repo");
  for (int item = 0; item < 50; ++item)
    fakes.files->addFile("/work/repo/src/" + std::to_string(item));
  fakes.files->forgetCounts();
  begin(URL::fileURLWithPath("/work/repo/src", true));
  // The items; the way up to whoever finds the repository: src, repo, work and the root; the way up
  // to the git directory, which each item is compared with, and that directory; and the folder
  // under which the items are noted. However many items there are.
  EXPECT_EQ(fakes.files->lookUps(), 50U + 4U + 3U + 1U);
}

TEST_F(FolderRegistryTest, APackageIsAskedForButNotNotedUnderItsParent) {
  startWithApplication();
  const URL package = fakes.files->addPackage("/work/Thing.app");
  fakes.files->addFile("/work/Thing.app/inside");
  begin(package);
  request(package);
  EXPECT_EQ(sentWith("openRepository:portName:").size(), 1U);
  EXPECT_EQ(inactive("/work"), std::nullopt);
  EXPECT_EQ(observed("/work/Thing.app"), Paths{"/work/Thing.app/inside"});
}

TEST_F(FolderRegistryTest, BeginNotesWhateverIsNoPackage) {
  start();
  begin(fakes.files->addFile("/work/file"));
  begin(URL::fileURLWithPath("/work/gone"));
  EXPECT_EQ(inactive("/work"), (Paths{"/work/file", "/work/gone"}));
  EXPECT_EQ(observed("/work/file"), Paths{});
  EXPECT_EQ(controller->allObservedFiles()->sets().size(), 1U) << "nothing for what is gone";
}

TEST_F(FolderRegistryTest, BeginOfAFolderThatCannotBeReadNotesItEmpty) {
  start();
  fakes.files->addFile("/work/folder/a");
  fakes.files->setUnreadable("/work/folder");
  begin(URL::fileURLWithPath("/work/folder"));
  EXPECT_EQ(observed("/work/folder"), Paths{});
  EXPECT_EQ(inactive("/work"), Paths{"/work/folder"});
}

TEST_F(FolderRegistryTest, TheRootHasNoParentToBeNotedUnder) {
  start();
  fakes.files->addFolder("/work");
  begin(URL::fileURLWithPath("/"));
  EXPECT_TRUE(controller->folders().inactiveFolders().empty());
  EXPECT_EQ(observed("/"), Paths{"/work"});
}

TEST_F(FolderRegistryTest, WhatIsNoFileIsAskedForAndNotNoted) {
  startWithApplication();
  const URL url = *URL::fromString("https://host/repo");
  begin(url);
  request(url);
  end(url);
  EXPECT_EQ(sentWith("openRepository:portName:").size(), 1U);
  EXPECT_TRUE(controller->folders().inactiveFolders().empty());
  EXPECT_TRUE(controller->allObservedFiles()->sets().empty());
}

// -- endObservingDirectoryAtURL -------------------------------------------------------------------

TEST_F(FolderRegistryTest, EndForgetsWhatWasNotedUnderTheFolder) {
  startWithApplication();
  const URL folder = fakes.files->addFolder("/work/folder");
  fakes.files->addFolder("/work/folder/sub");
  begin(folder);
  request(URL::fileURLWithPath("/work/folder/sub", true));
  EXPECT_EQ(inactive("/work/folder"), Paths{"/work/folder/sub"});
  end(folder);
  EXPECT_EQ(observed("/work/folder"), std::nullopt);
  EXPECT_EQ(inactive("/work/folder"), std::nullopt);
  EXPECT_EQ(inactive("/work"), Paths{"/work/folder"}) << "it stays under its own parent";
  EXPECT_EQ(observedDirectories(), Paths{"/work/folder"});
}

TEST_F(FolderRegistryTest, EndForgetsTheFolderInItsRepository) {
  startWithApplication();
  const URL root = openRepository("/work/repo");
  const URL folder = fakes.files->addFolder("/work/repo/src");
  const auto repository = repositoryOf(root);
  request(fakes.files->addFile("/work/repo/src/a"));
  ASSERT_NE(repository->observedPaths()->find(identifierOf(folder)), nullptr);
  end(folder);
  EXPECT_EQ(repository->observedPaths()->find(identifierOf(folder)), nullptr);
  EXPECT_EQ(controller->repositories().size(), 1U);
}

TEST_F(FolderRegistryTest, WithoutTheApplicationEndLeavesTheRepositoriesAlone) {
  startWithApplication();
  const URL root = openRepository("/work/repo");
  const URL folder = fakes.files->addFolder("/work/repo/src");
  const auto repository = repositoryOf(root);
  request(fakes.files->addFile("/work/repo/src/a"));
  controller->setApplicationPid(-1);
  end(folder);
  EXPECT_NE(repository->observedPaths()->find(identifierOf(folder)), nullptr);
  EXPECT_EQ(observed("/work/repo/src"), std::nullopt);
}

TEST_F(FolderRegistryTest, EndOfAFolderThatIsGoneDoesNothing) {
  start();
  const URL folder = fakes.files->addFolder("/work/folder");
  fakes.files->addFile("/work/folder/a");
  begin(folder);
  fakes.files->remove("/work/folder");
  end(folder);
  EXPECT_EQ(controller->allObservedFiles()->sets().size(), 1U);
  EXPECT_EQ(inactive("/work"), Paths{"/work/folder"});
}

// When it comes, it is asked for all folders that are known; this one must not fall in between.
TEST_F(FolderRegistryTest, AFolderThatIsShownWhileTheApplicationComesIsAskedFor) {
  fakes.files->addFolder("/work/repo");
  chooseFolders({"/work"});
  InterruptedFileSystem files(*fakes.files);
  const Platform interrupted = fakes.platformWith(fakes.finder, files);
  defaults = std::make_unique<KPUserDefaults>(interrupted);
  controller = KPKelpieSync::create(interrupted, *defaults);
  fakes.runAll();
  launchApplication();
  files.path = "/work";
  files.interrupt = [this] { controller->setApplicationPid(kPid); };
  begin(URL::fileURLWithPath("/work/repo", true));
  EXPECT_FALSE(files.interrupt) << "it came meanwhile";
  EXPECT_FALSE(sentWith("openRepository:portName:").empty());
  controller = nullptr;
}

// Folders come and go all the time, each under another identifier, such as those of a build.
TEST_F(FolderRegistryTest, FoldersThatWereGoneWhenTheyWereHiddenDoNotPileUp) {
  startWithApplication();
  const auto repository = repositoryOf(openRepository("/work/repo"));
  const URL kept = fakes.files->addFolder("/work/repo/kept");
  begin(kept);
  request(fakes.files->addFile("/work/repo/kept/a"));
  for (int i = 0; i < 300; ++i) {
    const std::string path = "/work/repo/gone" + std::to_string(i);
    const URL folder = fakes.files->addFolder(path);
    begin(folder);
    request(fakes.files->addFile(path + "/a"));
    request(fakes.files->addFolder(path + "/folder"));
    fakes.files->remove(path);
    end(folder);
  }
  EXPECT_LT(controller->allObservedFiles()->sets().size(), 100U);
  EXPECT_LT(repository->observedPaths()->sets().size(), 100U);
  EXPECT_LT(controller->folders().inactiveFolders().size(), 100U);
  EXPECT_LT(inactive("/work/repo")->size(), 100U);
  EXPECT_LT(observedDirectories().size(), 100U);
  EXPECT_EQ(observedDirectories().back(), "/work/repo/kept");
  EXPECT_EQ(observed("/work/repo/kept"), Paths{"/work/repo/kept/a"});
  EXPECT_NE(repository->observedPaths()->find(identifierOf(kept)), nullptr);
}

// It was made again, and is shown or asked about again.
TEST_F(FolderRegistryTest, WhatIsShownAgainIsKept) {
  startWithApplication();
  const auto repository = repositoryOf(openRepository("/work/repo"));
  for (const char* path : {"/work/repo/shown", "/work/repo/asked"}) {
    const URL folder = fakes.files->addFolder(path);
    begin(folder);
    fakes.files->remove(path);
    end(folder);
    fakes.files->addFolder(path);
  }
  fakes.files->addFile("/work/repo/shown/a");
  begin(URL::fileURLWithPath("/work/repo/shown", true));
  request(fakes.files->addFile("/work/repo/asked/a"));
  for (int i = 0; i < 300; ++i) end(URL::fileURLWithPath("/work/gone" + std::to_string(i), true));
  for (const std::string folder : {"/work/repo/shown", "/work/repo/asked"}) {
    EXPECT_EQ(observed(folder), Paths{folder + "/a"});
    const auto own =
        repository->observedPaths()->find(identifierOf(URL::fileURLWithPath(folder, true)));
    ASSERT_NE(own, nullptr);
    EXPECT_TRUE(own->contains(folder + "/a"));
  }
}

// -- requestBadgeIdentifierForURL -----------------------------------------------------------------

TEST_F(FolderRegistryTest, ABadgeIsSetByTheRepositoryThatHoldsTheItem) {
  startWithApplication();
  openRepository("/work/repo");
  fakes.finder.forgetBadges();
  request(fakes.files->addFile("/work/repo/a"));
  request(fakes.files->addFile("/work/other"));
  EXPECT_EQ(fakes.finder.badges(),
            (std::vector<FakeFinder::Badge>{{"KPCurrentBadge", "/work/repo/a"}}));
  EXPECT_EQ(observed("/work/repo"), Paths{"/work/repo/a"});
  EXPECT_EQ(observed("/work"), Paths{"/work/other"});
}

TEST_F(FolderRegistryTest, WithoutTheApplicationARequestSetsNoBadgeAndIsNoted) {
  startWithApplication();
  openRepository("/work/repo");
  controller->setApplicationPid(-1);
  fakes.finder.forgetBadges();
  request(fakes.files->addFile("/work/repo/a"));
  EXPECT_TRUE(fakes.finder.badges().empty());
  EXPECT_EQ(observed("/work/repo"), Paths{"/work/repo/a"});
}

TEST_F(FolderRegistryTest, OnlyFoldersThatAreNoPackagesAreNotedAsFolders) {
  start();
  request(fakes.files->addFile("/work/file"));
  EXPECT_EQ(inactive("/work"), std::nullopt);
  request(fakes.files->addPackage("/work/Thing.app"));
  EXPECT_EQ(inactive("/work"), std::nullopt);
  request(fakes.files->addLink("/work/link", "/"));
  EXPECT_EQ(inactive("/work"), std::nullopt);
  request(fakes.files->addFolder("/work/folder"));
  EXPECT_EQ(inactive("/work"), Paths{"/work/folder"});
  EXPECT_EQ(observed("/work"),
            (Paths{"/work/Thing.app", "/work/file", "/work/folder", "/work/link"}));
}

TEST_F(FolderRegistryTest, ARequestUnderAFolderThatIsGoneIsNotNoted) {
  start();
  request(URL::fileURLWithPath("/gone/file"));
  EXPECT_TRUE(controller->allObservedFiles()->sets().empty());
}

TEST_F(FolderRegistryTest, APathThatIsNoUtf8IsNotedAsItIs) {
  start();
  request(fakes.files->addFile("/work/\xff\xfe"));
  EXPECT_EQ(observed("/work"), Paths{"/work/\xff\xfe"});
}

// -- repositoryForURL -----------------------------------------------------------------------------

TEST_F(FolderRegistryTest, NestedRepositoriesMapToTheFirstThatWasOpened) {
  startWithApplication();
  const URL outer = openRepository("/work");
  const URL inner = openRepository("/work/inner");
  const URL file = fakes.files->addFile("/work/inner/file");
  EXPECT_EQ(controller->repositoryForURL(file), repositoryOf(outer));
  EXPECT_EQ(controller->repositoryForURL(inner), repositoryOf(outer));
  EXPECT_EQ(controller->repositoryForURL(fakes.files->addFolder("/else")), nullptr);
}

// -- openRepositoryWithUrls -----------------------------------------------------------------------

TEST_F(FolderRegistryTest, AnOpenedRepositoryGetsTheFilesOfItsRootAndItsBadge) {
  startWithApplication();
  const URL root = fakes.files->addFolder("/work/repo");
  const URL sub = fakes.files->addFolder("/work/repo/sub");
  fakes.files->addFile("/work/repo/a");
  begin(root);
  begin(sub);
  request(fakes.files->addFile("/work/repo/sub/b"));
  fakes.events.clear();

  openRepository("/work/repo");

  const auto repository = repositoryOf(root);
  ASSERT_NE(repository, nullptr);
  EXPECT_EQ(repository->url().value().path(), "/work/repo");
  EXPECT_EQ(repository->gitUrl().value().path(), "/work/repo/.git");
  EXPECT_EQ(repository->observedPaths()->find(identifierOf(root)),
            controller->allObservedFiles()->find(identifierOf(root)))
      << "one set, shared";
  EXPECT_EQ(repository->observedPaths()->find(identifierOf(sub)), nullptr)
      << "only the root's own items are handed over";
  EXPECT_EQ(observedDirectories(), Paths{"/work/repo/sub"}) << "which waits on";
  EXPECT_EQ(fakes.finder.badges().back().path, "/work/repo");
}

TEST_F(FolderRegistryTest, TheRepositoryIsOpenedAtTheResolvedFolder) {
  startWithApplication();
  const URL real = fakes.files->addFolder("/data/repo");
  const URL git = fakes.files->addFolder("/git");
  fakes.files->addLink("/home", "/data");
  const URL spelled = URL::fileURLWithPath("/home/repo", true);
  begin(spelled);
  deliver("openRepositoryWithUrls:", Objects{spelled, git});
  ASSERT_NE(repositoryOf(real), nullptr);
  EXPECT_EQ(repositoryOf(real)->url().value().path(), "/data/repo");
  EXPECT_EQ(observedDirectories(), Paths{});
}

TEST_F(FolderRegistryTest, OneUrlIsWorkingAndGitDirectoryAtOnce) {
  startWithApplication();
  const URL bare = fakes.files->addFolder("/work/bare.git");
  deliver("openRepositoryWithUrls:", Objects{bare});
  ASSERT_NE(repositoryOf(bare), nullptr);
  EXPECT_EQ(repositoryOf(bare)->gitUrl().value().path(), "/work/bare.git");
}

TEST_F(FolderRegistryTest, OfSeveralUrlsTheFirstAndTheLastCount) {
  startWithApplication();
  const URL root = fakes.files->addFolder("/work/repo");
  const URL git = fakes.files->addFolder("/git");
  deliver("openRepositoryWithUrls:", Objects{root, 5, URL::fileURLWithPath("/gone"), git});
  ASSERT_NE(repositoryOf(root), nullptr);
  EXPECT_EQ(repositoryOf(root)->gitUrl().value().path(), "/git");
}

TEST_F(FolderRegistryTest, AnswersThatNameNoFilesOpenNothing) {
  startWithApplication();
  const URL root = fakes.files->addFolder("/work/repo");
  const URL gone = URL::fileURLWithPath("/gone");
  const URL remote = *URL::fromString("https://host/repo");
  const Object answers[] = {Object(),
                            5,
                            "text",
                            Objects{},
                            Objects{5},
                            Objects{root, 5},
                            Objects{5, root},
                            root,
                            Objects{gone, root},
                            Objects{root, gone},
                            Objects{remote},
                            Dictionary{{0, root}},
                            Object::set({root})};
  for (const Object& answer : answers) {
    deliver("openRepositoryWithUrls:", answer);
    EXPECT_EQ(controller->repositories().size(), 0U) << answer.description();
  }
  EXPECT_EQ(fakes.queues.withLabel("org.kelpie.Kelpie.Sync.UpdateQueue").size(), 0U);
}

TEST_F(FolderRegistryTest, AnOpenRepositoryIsNotOpenedAgain) {
  startWithApplication();
  const URL root = openRepository("/work/repo");
  const auto repository = repositoryOf(root);
  openRepository("/work/repo");
  EXPECT_EQ(repositoryOf(root), repository);
  EXPECT_EQ(controller->repositories().size(), 1U);
}

TEST_F(FolderRegistryTest, OfTwoQuickOpeningsTheSecondReplacesTheFirst) {
  startWithApplication();
  const URL root = fakes.files->addFolder("/work/repo");
  const URL git = fakes.files->addFolder("/work/repo/.git");
  handle("openRepositoryWithUrls:", Objects{root, git});
  handle("openRepositoryWithUrls:", Objects{root, git});
  EXPECT_EQ(controller->repositories().size(), 0U) << "nothing happens on the main thread";
  const auto observerQueue = fakes.queues.withLabel("org.kelpie.Kelpie.Sync.ObserverQueue")[0];
  observerQueue->runOne();
  const auto first = repositoryOf(root);
  observerQueue->runOne();
  EXPECT_NE(repositoryOf(root), first);
  EXPECT_EQ(controller->repositories().size(), 1U);
}

TEST_F(FolderRegistryTest, OfTheWorkQueuedBeforeTheApplicationsEndOnlyWhatIsShownIsNoted) {
  startWithApplication();
  const URL root = fakes.files->addFolder("/work/repo");
  handle("openRepositoryWithUrls:", Objects{root});
  controller->beginObservingDirectoryAtURL(root);
  controller->setApplicationPid(-1);
  fakes.runAll();
  EXPECT_EQ(controller->repositories().size(), 0U) << "it came from one that is gone";
  EXPECT_TRUE(sent().empty()) << "requests are for an application that is there";
  EXPECT_NE(observed("/work/repo"), std::nullopt);
}

TEST_F(FolderRegistryTest, AFolderThatVanishesBeforeItsOpeningOpensNothing) {
  startWithApplication();
  const URL root = fakes.files->addFolder("/work/repo");
  handle("openRepositoryWithUrls:", Objects{root});
  fakes.files->remove("/work/repo");
  fakes.runAll();
  EXPECT_EQ(controller->repositories().size(), 0U);
}

}  // namespace
}  // namespace kelpie
