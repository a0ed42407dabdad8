#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/RepositoryTable.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

// Work that waits on the observer queue and the update queues when the main application ends.
class AfterTheEnd : public ControllerFixture {
 protected:
  void SetUp() override {
    fakes.groupDefaults().changeFromOutside("KPShowFolderGitStatus", true);
    startWithApplication();
    root = openRepository("/code/repo");
    for (const std::string& path : paths) {
      fakes.files->addFile(path);
      controller->requestBadgeIdentifierForURL(URL::fileURLWithPath(path));
    }
    controller->requestBadgeIdentifierForURL(URL::fileURLWithPath("/code/repo/sub", true));
    fakes.runAll();
    sendStatus();
    fakes.runAll();
  }

  // Every item is modified.
  void sendStatus() {
    Dictionary entries;
    Objects dirty;
    for (const std::string& path : paths) {
      entries.set(Object(identifierOf(URL::fileURLWithPath(path))), Objects{0x0100, path});
      dirty.emplace_back(URL::fileURLWithPath(path));
    }
    handle("setStatusInfo:",
           Dictionary{{"KPRepositoryStatus", Object(std::move(entries)).mutableCopy()},
                      {"KPStatusDirtyURLs", dirty}},
           Object(identifierOf(*root)));
  }
  // Its end is seen before anything else runs; then all that waits runs.
  void endApplication() {
    fakes.applications.running.clear();
    fakes.processMonitors.fire(kPid);
    fakes.queues.main().runAll();
    fakes.finder.forgetBadges();
    fakes.runAll();
  }

  const std::vector<std::string> paths = {"/code/repo/a", "/code/repo/b", "/code/repo/sub/c"};
  std::optional<URL> root;
};

TEST_F(AfterTheEnd, NothingThatWasQueuedBeforeSetsABadge) {
  const auto repository = repositoryOf(*root);
  ASSERT_EQ(fakes.finder.badgeFor("/code/repo/sub/c"), "KPWorkdirModifiedBadge");
  ASSERT_EQ(fakes.finder.badgeFor("/code/repo/sub"), "KPWorkdirModifiedBadge");
  sendStatus();
  handle("updateStagedStatus:", Objects{URL::fileURLWithPath(paths[0])},
         Object(identifierOf(*root)));
  repository->updateStatusOfDirectoryURL(URL::fileURLWithPath("/code/repo/sub", true));
  controller->requestBadgeIdentifierForURL(URL::fileURLWithPath(paths[1]));
  controller->beginObservingDirectoryAtURL(*root);
  endApplication();
  EXPECT_EQ(fakes.finder.badges(), std::vector<FakeFinder::Badge>{});
  EXPECT_EQ(repository->statusOfItemAtURL(URL::fileURLWithPath(paths[1])), std::nullopt);
  EXPECT_EQ(repository.use_count(), 1) << "nobody else holds it";
}

TEST_F(AfterTheEnd, ARepositoryWhoseOpeningWasQueuedIsNotOpened) {
  const URL other = fakes.files->addFolder("/code/other");
  handle("openRepositoryWithUrls:", Objects{other, fakes.files->addFolder("/code/other/.git")});
  endApplication();
  EXPECT_EQ(controller->repositories().size(), 0U);
  EXPECT_EQ(fakes.finder.badges(), std::vector<FakeFinder::Badge>{});
}

// What it sent last may still be on its way.
TEST_F(AfterTheEnd, AnOpeningThatArrivesLaterMakesNoRepository) {
  endApplication();
  const URL other = fakes.files->addFolder("/code/other");
  const Objects urls = {other, fakes.files->addFolder("/code/other/.git")};
  handle("openRepositoryWithUrls:", urls);
  fakes.runAll();
  EXPECT_EQ(controller->repositories().size(), 0U);
  EXPECT_EQ(fakes.finder.badges(), std::vector<FakeFinder::Badge>{});
  launchApplication();
  controller->updateApplicationRunning();
  handle("openRepositoryWithUrls:", urls);
  fakes.runAll();
  EXPECT_EQ(controller->repositories().size(), 1U) << "another one runs";
}

}  // namespace
}  // namespace kelpie
