#include "extension/KPKelpieSync.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "archive/ClassTable.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "extension/ControllerFixture.h"
#include "extension/FolderTables.h"
#include "extension/RepositoryTable.h"
#include "status/KPBadge.h"
#include "status/ObservedPaths.h"

namespace kelpie {
namespace {

using KPKelpieSyncTest = ControllerFixture;

// -- The class set-up -----------------------------------------------------------------------------

TEST_F(KPKelpieSyncTest, TheClassSetUpRegistersEachBadgeOnceHoweverManyControllersThereAre) {
  KPKelpieSync::initialize(fakes.platform());
  start();
  controller.reset();
  start();
  const auto images = fakes.finder.badgeImages();
  ASSERT_EQ(images.size(), 13U);
  for (std::size_t index = 0; index < images.size(); ++index) {
    EXPECT_EQ(images[index].identifier, KPBadge::badges()[index].identifier);
    EXPECT_EQ(images[index].image, KPBadge::badges()[index].image);
    EXPECT_EQ(images[index].label, "");
  }
}

TEST_F(KPKelpieSyncTest, TheClassSetUpClearsStaleKeysOfTheOwnDefaultsOnly) {
  const std::string_view keys[] = {
      "NSWindow Frame main", "NS", "KPBrowserColumns", "KPBrowser", "KPPrivateKeysURLs",
      "KPFoldersPaths",      "ns", "KPBrowse",         "XNS",       "KPContextualMenuItems"};
  for (const std::string_view key : keys) {
    fakes.defaults.standard().changeFromOutside(key, key);
    fakes.groupDefaults().changeFromOutside(key, key);
  }
  KPKelpieSync::initialize(fakes.platform());
  for (const std::string_view key :
       {"KPFoldersPaths", "ns", "KPBrowse", "XNS", "KPContextualMenuItems"})
    EXPECT_FALSE(fakes.defaults.standard().storedValue(key).isNil()) << key;
  for (const std::string_view key :
       {"NSWindow Frame main", "NS", "KPBrowserColumns", "KPBrowser", "KPPrivateKeysURLs"})
    EXPECT_TRUE(fakes.defaults.standard().storedValue(key).isNil()) << key;
  for (const std::string_view key : keys)
    EXPECT_FALSE(fakes.groupDefaults().storedValue(key).isNil()) << key;
  EXPECT_EQ(fakes.events.count("defaults.set"), 0U);
  EXPECT_EQ(fakes.events.count("defaults.register"), 0U);
}

TEST_F(KPKelpieSyncTest, TheClassSetUpLooksAtRegisteredKeysAsWell) {
  fakes.defaults.standard().registerDefaults({{"NSRegistered", 1}});
  KPKelpieSync::initialize(fakes.platform());
  EXPECT_EQ(fakes.events.linesWith("defaults.remove"),
            (Lines{"defaults.remove standard KPPrivateKeysURLs",
                   "defaults.remove standard NSRegistered"}));
}

TEST_F(KPKelpieSyncTest, TheClassSetUpGoesInOrder) {
  fakes.defaults.standard().changeFromOutside("NSOld", 1);
  KPKelpieSync::initialize(fakes.platform());
  const Lines lines = fakes.events.lines();
  ASSERT_EQ(lines.size(), 15U);
  for (std::size_t badge = 0; badge < 13; ++badge)
    EXPECT_TRUE(lines[badge].starts_with("finder.image ")) << lines[badge];
  EXPECT_EQ(lines[13], "defaults.remove standard KPPrivateKeysURLs");
  EXPECT_EQ(lines[14], "defaults.remove standard NSOld");
}

// Whoever changes a setting on another thread may have begun before the observation was let go.
TEST_F(KPKelpieSyncTest, AChangeOfTheFoldersThatComesAsTheControllerGoesIsStillTakenIn) {
  const auto first =
      fakes.groupDefaults().observe("KPFoldersPaths", [this] { controller.reset(); });
  start();
  fakes.finder.setDirectoryURLs({URL::fileURLWithPath("/former")});
  fakes.groupDefaults().changeFromOutside("KPFoldersPaths", Objects());
  EXPECT_EQ(controller, nullptr);
  EXPECT_TRUE(fakes.finder.directoryURLs().empty());
}

TEST_F(KPKelpieSyncTest, TheClassSetUpTeachesTheCodecTheReferenceRecords) {
  KPKelpieSync::initialize(fakes.platform());
  for (const char* name :
       {"KPReference", "KPRemote", "KPSubmodule", "KPPullRequests", "KPTreeNode"})
    EXPECT_TRUE(ClassTable::shared().find(name)) << name;
}

// -- The beginning --------------------------------------------------------------------------------

TEST_F(KPKelpieSyncTest, StartsInOrder) {
  chooseFolders({"/work"});
  launchApplication();
  fakes.events.clear();
  start();
  EXPECT_EQ(fakes.events.lines(), (Lines{
                                      "limits.read",
                                      "limits.set 10240 524288",
                                      "queues.make org.kelpie.Kelpie.Sync.ObserverQueue",
                                      // The receiving port.
                                      "entitlements.read com.apple.security.application-groups",
                                      "ports.local group.org.kelpie.Sync.4242",
                                      // The folders.
                                      "entitlements.read com.apple.security.application-groups",
                                      "defaults.open group.org.kelpie",
                                      "defaults.register group.org.kelpie",
                                      "finder.directories /work",
                                      // The main application.
                                      "applications.find org.kelpie.Kelpie",
                                      "entitlements.read com.apple.security.application-groups",
                                      "ports.remote group.org.kelpie.App",
                                      "send group.org.kelpie.App 1 pingPortName:",
                                      "monitors.make 700",
                                      "monitors.resume 700",
                                      // The observations.
                                      "defaults.observe group.org.kelpie KPFoldersPaths",
                                      "notifications.observe KPApplicationRunning",
                                  }));
}

TEST_F(KPKelpieSyncTest, StartsWithEmptyTables) {
  start();
  EXPECT_EQ(controller->repositories().size(), 0U);
  EXPECT_TRUE(controller->allObservedFiles()->sets().empty());
  EXPECT_TRUE(controller->folders().inactiveFolders().empty());
  EXPECT_TRUE(controller->folders().observedDirectories().empty());
  EXPECT_TRUE(controller->senderObjects().objectForAction("stage:").isNil());
  EXPECT_TRUE(controller->targetURLs().empty());
  EXPECT_EQ(controller->applicationPid(), -1);
  EXPECT_EQ(controller->monitor(), nullptr);
  EXPECT_EQ(controller->port(), nullptr);
  EXPECT_EQ(controller->portName(), kReceivingPort);
}

TEST_F(KPKelpieSyncTest, TheLimitOnOpenFilesBecomesTheSameWhateverItWas) {
  struct Case {
    const char* why;
    std::optional<OpenFilesLimit> before;
    std::optional<OpenFilesLimit> after;  // absent when there is no controller
  };
  const Case cases[] = {
      {"raised", OpenFilesLimit{256, 524288}, OpenFilesLimit{10240, 524288}},
      {"lowered", OpenFilesLimit{500000, 524288}, OpenFilesLimit{10240, 524288}},
      {"just possible", OpenFilesLimit{256, 10240}, OpenFilesLimit{10240, 10240}},
      {"above the hard limit", OpenFilesLimit{256, 10239}, std::nullopt},
      {"not to be read", std::nullopt, std::nullopt},
  };
  for (const Case& row : cases) {
    FakePlatform platform;
    platform.limits.limit = row.before;
    KPUserDefaults settings(platform.platform());
    const auto made = KPKelpieSync::create(platform.platform(), settings);
    EXPECT_EQ(made != nullptr, row.after.has_value()) << row.why;
    if (row.after) {
      EXPECT_EQ(platform.limits.limit, row.after) << row.why;
    } else {
      EXPECT_EQ(platform.limits.limit, row.before) << row.why;
      for (const std::string& line : platform.events.lines())
        EXPECT_TRUE(line.starts_with("limits.")) << row.why << ": " << line;
    }
  }
}

TEST_F(KPKelpieSyncTest, StartsWithoutAnApplicationGroup) {
  fakes.entitlements.values.clear();
  fakes.applications.running["org.kelpie.Kelpie"] = {kPid};
  start();
  ASSERT_NE(controller, nullptr);
  EXPECT_EQ(controller->portName(), std::nullopt);
  EXPECT_EQ(controller->applicationPid(), -1);
  EXPECT_EQ(fakes.finder.directorySettings(), 1U);
  EXPECT_TRUE(fakes.finder.directoryURLs().empty());
  EXPECT_EQ(appMessages().size(), 1U);
  EXPECT_EQ(fakes.notifications.observers(), 1U);
}

// -- What comes from outside ----------------------------------------------------------------------

TEST_F(KPKelpieSyncTest, AChangeOfTheFoldersLeadsToOneUpdate) {
  start();
  EXPECT_EQ(fakes.finder.directorySettings(), 1U);
  chooseFolders({"/a", "/b"});
  EXPECT_EQ(fakes.finder.directorySettings(), 2U);
  EXPECT_EQ(fakes.events.linesWith("finder.directories").back(), "finder.directories /a /b");
  fakes.groupDefaults().changeFromOutside("KPApplicationVersion", "9");
  EXPECT_EQ(fakes.finder.directorySettings(), 2U);
}

TEST_F(KPKelpieSyncTest, TheNotificationOfTheApplicationLeadsToOneLook) {
  start();
  fakes.events.clear();
  fakes.notifications.deliver("KPApplicationRunning", "whatever");
  fakes.notifications.deliver("KPAppMessage", "");
  fakes.runAll();
  EXPECT_EQ(fakes.events.lines(), Lines{"applications.find org.kelpie.Kelpie"});
}

TEST_F(KPKelpieSyncTest, TheToolbarItemHasItsNameAndImage) {
  start();
  EXPECT_EQ(controller->toolbarItemName(), "KElpie");
  EXPECT_EQ(controller->toolbarItemToolTip(), "");
  EXPECT_EQ(controller->toolbarItemImage(), (Image{"StatusItemIcon", Image::Source::Resource}));
}

// -- The end --------------------------------------------------------------------------------------

TEST_F(KPKelpieSyncTest, EndsInOrderAndLeavesTheWatch) {
  startWithApplication();
  controller.reset();
  EXPECT_EQ(fakes.events.lines(), (Lines{
                                      "notifications.unobserve KPApplicationRunning",
                                      "defaults.unobserve group.org.kelpie KPFoldersPaths",
                                      "ports.release group.org.kelpie.App",
                                      "ports.close group.org.kelpie.Sync.4242",
                                  }));
  EXPECT_EQ(fakes.processMonitors.running(), 1U);
}

TEST_F(KPKelpieSyncTest, NothingReachesAControllerThatHasEnded) {
  startWithApplication();
  const URL folder = openRepository("/work/repo");
  controller->beginObservingDirectoryAtURL(folder);
  controller->requestBadgeIdentifierForURL(folder);
  controller->endObservingDirectoryAtURL(folder);
  controller.reset();
  fakes.notifications.deliver("KPApplicationRunning", "");
  chooseFolders({"/a"});
  fakes.messagePorts.deliver(kReceivingPort, 2, Dictionary{{"KPMessageSelector", "quit:"}});
  fakes.processMonitors.fire(kPid);
  fakes.runAll();
  EXPECT_EQ(fakes.processMonitors.running(), 0U) << "the watch ends itself";
}

// -- Properties that messages set -----------------------------------------------------------------

class Properties : public ControllerFixture {
 protected:
  void SetUp() override {
    startWithApplication();
    folder = fakes.files->addFolder("/work/folder");
  }

  std::size_t inactiveCount() const { return controller->folders().inactiveFolders().size(); }

  std::optional<URL> folder;
  const Object wrong[4] = {Object(), 5, "text", Objects{1, "x"}};
};

TEST_F(Properties, RepositoriesCanOnlyBeEmptied) {
  const Object values[] = {Object(), 5, "text", Dictionary{}, Dictionary{{Bytes{1}, "repository"}}};
  for (const Object& value : values) {
    const URL root = openRepository("/work/repo");
    ASSERT_EQ(controller->repositories().size(), 1U);
    deliver("setRepositories:", value);
    EXPECT_EQ(controller->repositories().size(), 0U) << value.description();
  }
  openRepository("/work/repo");
  EXPECT_EQ(controller->repositories().size(), 1U) << "the next opening is served";
}

TEST_F(Properties, AllObservedFilesTakeSetsOfPathsByFolder) {
  const FileIdentifier identifier = identifierOf(*folder);
  const Object set = Object::set({"/work/folder/a", 5, Object::path("/work/folder/\xff")});
  deliver("setAllObservedFiles:",
          Dictionary{{identifier, set}, {Bytes{9}, "no set"}, {"name", Object::set({"/x"})}});
  const auto paths = controller->allObservedFiles()->find(identifier);
  ASSERT_NE(paths, nullptr);
  EXPECT_EQ(paths->size(), 2U);
  EXPECT_TRUE(paths->contains("/work/folder/a"));
  EXPECT_TRUE(paths->contains("/work/folder/\xff"));
  EXPECT_EQ(controller->allObservedFiles()->sets().size(), 2U);
  for (const Object& value : wrong) {
    deliver("setAllObservedFiles:", value);
    EXPECT_TRUE(controller->allObservedFiles()->sets().empty()) << value.description();
    controller->requestBadgeIdentifierForURL(*folder);
    fakes.runAll();
    EXPECT_EQ(controller->allObservedFiles()->sets().size(), 1U) << "the next request is served";
  }
}

TEST_F(Properties, InactiveObservedFilesTakeSetsOfUrlsByParent) {
  deliver("setInactiveObservedFiles:",
          Dictionary{{Bytes{1}, Object::set({*folder, "no URL"})}, {Bytes{2}, Objects{*folder}}});
  const auto folders = controller->folders().inactiveFolders();
  ASSERT_EQ(folders.size(), 1U);
  EXPECT_EQ(folders[0].first, FileIdentifier(Bytes{1}));
  ASSERT_EQ(folders[0].second.size(), 1U);
  EXPECT_EQ(folders[0].second[0].path(), "/work/folder");
  for (const Object& value : wrong) {
    deliver("setInactiveObservedFiles:", value);
    EXPECT_EQ(inactiveCount(), 0U) << value.description();
    controller->requestBadgeIdentifierForURL(*folder);
    fakes.runAll();
    EXPECT_EQ(inactiveCount(), 1U) << "the next request is served";
  }
}

TEST_F(Properties, ObservedDirectoriesTakeASetOfUrls) {
  deliver("setObservedDirectories:", Object::set({*folder, 5}));
  ASSERT_EQ(controller->folders().observedDirectories().size(), 1U);
  EXPECT_EQ(controller->folders().observedDirectories()[0].path(), "/work/folder");
  for (const Object& value : wrong) {
    deliver("setObservedDirectories:", value);
    EXPECT_TRUE(controller->folders().observedDirectories().empty()) << value.description();
  }
}

TEST_F(Properties, TargetUrlsTakeAnArrayOfUrls) {
  deliver("setTargetURLs:", Objects{*folder, 5, *folder});
  ASSERT_EQ(controller->targetURLs().size(), 2U);
  EXPECT_EQ(controller->targetURLs()[0].path(), "/work/folder");
  for (const Object& value : wrong) {
    controller->setTargetURLs(std::vector<URL>{*folder});
    deliver("setTargetURLs:", value);
    EXPECT_TRUE(controller->targetURLs().empty()) << value.description();
  }
}

TEST_F(Properties, SenderObjectsTakeADictionaryByAction) {
  deliver("setSenderObjects:", Dictionary{{"stage:", 5}, {6, 7}});
  EXPECT_TRUE(controller->senderObjects().objectForAction("stage:").isEqual(5));
  for (const Object& value : wrong) {
    controller->senderObjects().set("diff:", 1);
    deliver("setSenderObjects:", value);
    EXPECT_TRUE(controller->senderObjects().objectForAction("diff:").isNil())
        << value.description();
  }
}

TEST_F(Properties, ThePortNameTakesAString) {
  deliver("setPortName:", "another");
  EXPECT_EQ(controller->portName(), "another");
  for (const Object& value : wrong) {
    if (value.isString()) continue;
    controller->setPortName("a name");
    deliver("setPortName:", value);
    EXPECT_EQ(controller->portName(), std::nullopt) << value.description();
  }
}

TEST_F(Properties, ThePortCanOnlyBeLetGo) {
  ASSERT_NE(controller->port(), nullptr);
  deliver("setPort:", "group.org.kelpie.App");
  EXPECT_EQ(controller->port(), nullptr);
}

TEST_F(Properties, TheWatchCanOnlyBeForgottenAndGoesOn) {
  ASSERT_NE(controller->monitor(), nullptr);
  deliver("setMonitor:", 5);
  EXPECT_EQ(controller->monitor(), nullptr);
  EXPECT_EQ(fakes.processMonitors.running(), 1U);
  quitApplication();
  EXPECT_EQ(controller->applicationPid(), -1);
}

TEST_F(Properties, TheApplicationPidTakesTheNumber) {
  deliver("setApplicationPid:", 900);
  EXPECT_EQ(controller->applicationPid(), 900);
  deliver("setApplicationPid:", 901.75);
  EXPECT_EQ(controller->applicationPid(), 901);
  deliver("setApplicationPid:", (std::int64_t{1} << 40) + 7);
  EXPECT_EQ(controller->applicationPid(), 7) << "the low bits of a number that is too wide";
  deliver("setApplicationPid:", true);
  EXPECT_EQ(controller->applicationPid(), 1);
  for (const Object& value : wrong) {
    if (value.isNumber()) continue;
    controller->setApplicationPid(kPid);
    deliver("setApplicationPid:", value);
    EXPECT_EQ(controller->applicationPid(), -1) << value.description() << " reads as 0: gone";
  }
}

TEST_F(Properties, TheObserverQueueAndTheOwnBeginningAndEndAreNoBusinessOfMessages) {
  for (const std::string_view selector :
       {"setObserverQueue:", "init", "dealloc", "setReferenceses:", "setHasHeadCommits:"}) {
    fakes.events.clear();
    deliver(selector, Object());
    deliver(selector, Dictionary{{Bytes{1}, 1}});
    EXPECT_TRUE(fakes.events.lines().empty()) << selector;
  }
  controller->requestBadgeIdentifierForURL(*folder);
  fakes.runAll();
  EXPECT_EQ(inactiveCount(), 1U);
}

}  // namespace
}  // namespace kelpie
