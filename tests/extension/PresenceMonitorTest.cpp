#include "extension/PresenceMonitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/FolderTables.h"
#include "extension/RepositoryTable.h"
#include "status/KPRepository.h"
#include "status/ObservedPaths.h"

namespace kelpie {
namespace {

class PresenceMonitorTest : public ControllerFixture {
 protected:
  // The folders that repositories were asked for, and whether again ("shallow"): as they were asked
  // for, and sorted.
  std::vector<std::pair<std::string, bool>> requestsAsSent() const {
    std::vector<std::pair<std::string, bool>> result;
    for (const Message& message : sentWith("openRepository:portName:")) {
      EXPECT_EQ(message.id, 1);
      const Object argument = message.content["KPMessageArgument"];
      EXPECT_EQ(argument.size(), 2U);
      EXPECT_EQ(argument["shallow"].kind(), Object::Kind::Boolean);
      result.emplace_back(argument["url"].url().value().path(), argument["shallow"].boolValue());
    }
    return result;
  }
  std::vector<std::pair<std::string, bool>> requests() const {
    std::vector<std::pair<std::string, bool>> result = requestsAsSent();
    std::ranges::sort(result);
    return result;
  }

  // The folder was shown: under its parent.
  void show(std::string_view path) {
    controller->requestBadgeIdentifierForURL(fakes.files->addFolder(path));
    fakes.runAll();
  }

  std::vector<std::string> inactivePaths() const {
    std::vector<std::string> paths;
    for (const auto& [parent, folders] : controller->folders().inactiveFolders())
      for (const URL& url : folders) paths.push_back(url.path());
    std::ranges::sort(paths);
    return paths;
  }

  std::vector<std::string> observedDirectories() const {
    std::vector<std::string> paths;
    for (const URL& url : controller->folders().observedDirectories()) paths.push_back(url.path());
    return paths;
  }
};

using Requests = std::vector<std::pair<std::string, bool>>;
using Paths = std::vector<std::string>;

// -- Is the application there? --------------------------------------------------------------------

TEST_F(PresenceMonitorTest, OneRunningApplicationOfTheSameVersionIsThere) {
  struct Case {
    const char* why;
    std::vector<std::int32_t> running;
    Object version;
    std::int32_t pid;
  };
  const Case cases[] = {
      {"one copy, same version", {700}, "1", 700},
      {"the version as a number is its text", {700}, 1, 700},
      {"another version", {700}, "2", -1},
      {"the same number, another text", {700}, "1.0", -1},
      {"no version", {700}, Object(), -1},
      {"a version that is no text", {700}, Objects{"1"}, -1},
      {"two copies", {700, 701}, "1", -1},
      {"none", {}, "1", -1},
  };
  for (const Case& row : cases) {
    FakePlatform platform;
    platform.messagePorts.setListening(kApplicationPort, true);
    platform.groupDefaults().changeFromOutside("KPApplicationVersion", row.version);
    platform.applications.running["org.kelpie.Kelpie"] = row.running;
    platform.applications.running["org.kelpie.Other"] = {5};
    KPUserDefaults settings(platform.platform());
    const auto made = KPKelpieSync::create(platform.platform(), settings);
    EXPECT_EQ(made->applicationPid(), row.pid) << row.why;
    EXPECT_EQ(platform.messagePorts.sent().size(), row.pid > 0 ? 1U : 0U) << row.why;
    EXPECT_EQ(platform.processMonitors.running(), row.pid > 0 ? 1U : 0U) << row.why;
    EXPECT_TRUE(platform.notifications.posted().empty()) << row.why << ": without a message";
  }
}

TEST_F(PresenceMonitorTest, TwoMissingVersionsAreNotEqual) {
  fakes.bundle.information.clear();
  fakes.applications.running["org.kelpie.Kelpie"] = {kPid};
  start();
  EXPECT_EQ(controller->applicationPid(), -1);
}

// -- It appears -----------------------------------------------------------------------------------

TEST_F(PresenceMonitorTest, ThePingNamesTheReceivingPort) {
  launchApplication();
  start();
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_EQ(sent()[0].id, 1);
  EXPECT_TRUE(sent()[0].content.isEqual(Dictionary{{"KPMessageSelector", "pingPortName:"},
                                                   {"KPMessageArgument", kReceivingPort},
                                                   {"KPMessagePortName", kReceivingPort}}))
      << sent()[0].content.description();
}

TEST_F(PresenceMonitorTest, FoldersOnScreenAreAskedForAgainInsideTheObservedFolders) {
  chooseFolders({"/work", "/more"});
  start();
  show("/work/repo");
  show("/work/repo/src");
  show("/more/other");
  show("/else/where");
  show("/work");
  launchApplication();
  controller->updateApplicationRunning();
  EXPECT_EQ(
      requests(),
      (Requests{
          {"/more/other", true}, {"/work", true}, {"/work/repo", true}, {"/work/repo/src", true}}));
  EXPECT_EQ(observedDirectories(), (Paths{"/more/other", "/work", "/work/repo", "/work/repo/src"}));
  // Each of them lies outside one of the two observed folders.
  EXPECT_EQ(inactivePaths(), Paths{});
}

TEST_F(PresenceMonitorTest, WhatIsInViewIsAskedForFirst) {
  chooseFolders({"/more"});
  start();
  show("/more/a");
  show("/more/b");
  show("/more/c");
  controller->beginObservingDirectoryAtURL(fakes.files->addFolder("/more/b"));
  fakes.runAll();
  launchApplication();
  controller->updateApplicationRunning();
  EXPECT_EQ(requestsAsSent().front().first, "/more/b");
  EXPECT_EQ(requests(), (Requests{{"/more/a", true}, {"/more/b", true}, {"/more/c", true}}));
}

TEST_F(PresenceMonitorTest, WithOneObservedFolderWhatLiesInItStays) {
  chooseFolders({"/work"});
  start();
  show("/work/repo");
  show("/else/where");
  launchApplication();
  controller->updateApplicationRunning();
  EXPECT_EQ(requests(), (Requests{{"/work/repo", true}}));
  EXPECT_EQ(inactivePaths(), Paths{"/work/repo"});
}

TEST_F(PresenceMonitorTest, NestedObservedFoldersAskOnceEach) {
  chooseFolders({"/work", "/work/inner"});
  start();
  show("/work/inner/repo");
  launchApplication();
  controller->updateApplicationRunning();
  EXPECT_EQ(requests(), (Requests{{"/work/inner/repo", true}, {"/work/inner/repo", true}}));
  EXPECT_EQ(inactivePaths(), Paths{"/work/inner/repo"});
  EXPECT_EQ(observedDirectories(), Paths{"/work/inner/repo"});
}

TEST_F(PresenceMonitorTest, WithoutObservedFoldersNothingIsAskedForOrForgotten) {
  start();
  show("/work/repo");
  launchApplication();
  controller->updateApplicationRunning();
  EXPECT_EQ(requests(), Requests{});
  EXPECT_EQ(inactivePaths(), Paths{"/work/repo"});
}

TEST_F(PresenceMonitorTest, TheWatchIsSetUpThoughSendingFails) {
  launchApplication();
  fakes.messagePorts.setListening(kApplicationPort, false);
  start();
  EXPECT_EQ(controller->applicationPid(), kPid);
  EXPECT_EQ(fakes.processMonitors.running(), 1U);
  EXPECT_EQ(appMessages().size(), 1U);
}

TEST_F(PresenceMonitorTest, WithoutAReceivingPortThePingCannotBeBuiltAndNothingChanges) {
  fakes.messagePorts.refuseLocal(true);
  start();
  launchApplication();
  fakes.events.clear();
  EXPECT_THROW(controller->updateApplicationRunning(), std::invalid_argument);
  EXPECT_EQ(controller->applicationPid(), -1) << "nobody watches it";
  EXPECT_EQ(fakes.events.count("monitors."), 0U);
  EXPECT_TRUE(sent().empty());
  controller->beginObservingDirectoryAtURL(fakes.files->addFolder("/code"));
  fakes.runAll();
  EXPECT_TRUE(sent().empty()) << "nobody is there to be asked";
}

TEST_F(PresenceMonitorTest, AReceivingPortThatIsLostLaterLeavesTheApplicationThatThereIs) {
  startWithApplication();
  const URL root = openRepository("/code/repo");
  const auto watch = controller->monitor();
  controller->setPortName(Object());
  launchApplication("1", 701);
  EXPECT_THROW(controller->updateApplicationRunning(), std::invalid_argument);
  EXPECT_EQ(controller->applicationPid(), kPid);
  EXPECT_EQ(controller->monitor(), watch);
  EXPECT_NE(repositoryOf(root), nullptr);
  quitApplication();
  EXPECT_EQ(controller->applicationPid(), -1) << "its end is seen";
}

TEST_F(PresenceMonitorTest, WithTheApplicationRunningAndNoReceivingPortThereIsNoController) {
  fakes.messagePorts.refuseLocal(true);
  launchApplication();
  EXPECT_THROW(start(), std::invalid_argument);
  EXPECT_EQ(controller, nullptr);
  EXPECT_EQ(fakes.events.count("ports.release"), 1U) << "the sending port is let go";
  EXPECT_EQ(fakes.notifications.observers(), 0U);
}

// -- It goes --------------------------------------------------------------------------------------

TEST_F(PresenceMonitorTest, WhenTheProcessEndsEveryPathShownGetsTheEmptyBadge) {
  startWithApplication();
  const URL root = openRepository("/work/repo");
  controller->requestBadgeIdentifierForURL(fakes.files->addFile("/work/repo/a"));
  controller->requestBadgeIdentifierForURL(fakes.files->addFile("/else/b"));
  fakes.runAll();
  fakes.events.clear();

  quitApplication();

  Lines badges = fakes.events.linesWith("finder.badge");
  std::ranges::sort(badges);
  EXPECT_EQ(badges,
            (Lines{"finder.badge KPEmptyBadge /else/b", "finder.badge KPEmptyBadge /work/repo/a"}));
  EXPECT_EQ(controller->repositories().size(), 0U);
  EXPECT_EQ(controller->port(), nullptr);
  EXPECT_EQ(controller->applicationPid(), -1);
  EXPECT_EQ(controller->monitor(), nullptr);
  EXPECT_EQ(fakes.processMonitors.running(), 0U);
  // In order: the badges, then the port, then the watch.
  const Lines lines = fakes.events.lines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[2], "ports.release group.org.kelpie.App");
  EXPECT_EQ(lines[3], "monitors.cancel 700");
}

TEST_F(PresenceMonitorTest, WhatWasShownIsKeptForItsReturn) {
  chooseFolders({"/work"});
  startWithApplication();
  controller->beginObservingDirectoryAtURL(fakes.files->addFolder("/work/repo"));
  fakes.files->addFile("/work/repo/file");
  fakes.runAll();
  quitApplication();
  EXPECT_EQ(controller->allObservedFiles()->sets().size(), 1U);
  EXPECT_EQ(inactivePaths(), Paths{"/work/repo"});
  EXPECT_EQ(observedDirectories(), Paths{"/work/repo"});

  fakes.messagePorts.forgetSent();
  launchApplication("1", 800);
  fakes.notifications.deliver("KPApplicationRunning", "");
  fakes.runAll();
  EXPECT_EQ(sentWith("pingPortName:").size(), 1U);
  EXPECT_EQ(requests(), (Requests{{"/work/repo", true}}));
  EXPECT_EQ(controller->applicationPid(), 800);
}

// Its messages wait for an opening of its own while the next application's are taken in.
TEST_F(PresenceMonitorTest, WhatAnEndedApplicationHadSentDoesNotMixWithWhatTheNextOneSends) {
  startWithApplication();
  fakes.messagePorts.setSender(kPid);
  const URL root = openRepository("/work/repo");
  const URL file = fakes.files->addFile("/work/repo/a");
  controller->requestBadgeIdentifierForURL(file);
  fakes.runAll();
  const auto send = [this](std::string_view selector, Object argument, const Object& target) {
    fakes.messagePorts.deliver(kReceivingPort, kExtensionMessage,
                               Dictionary{{"KPMessageSelector", selector},
                                          {"KPMessageArgument", std::move(argument)},
                                          {"KPMessageTarget", target}});
  };
  const auto status = [&](std::int64_t word) {
    const Dictionary table{{identifierOf(file), Objects{word, file.path()}}};
    return Dictionary{{"KPRepositoryStatus", table}};
  };
  const Object target = identifierOf(root);
  send("openRepositoryWithUrls:", Objects{fakes.files->addFolder("/work/other")}, target);
  send("setState:", 1, target);
  send("setStatusInfo:", status(0x0100), target);
  fakes.queues.main().runAll();
  fakes.processMonitors.fire(kPid);
  fakes.queues.main().runAll();

  launchApplication("1", 800);
  fakes.messagePorts.setSender(800);
  fakes.notifications.deliver("KPApplicationRunning", "");
  fakes.queues.main().runAll();
  send("openRepositoryWithUrls:", Objects{root}, target);
  send("setStatusInfo:", status(0x0001), target);
  fakes.queues.main().runAll();
  controller->requestBadgeIdentifierForURL(file);
  fakes.queues.withLabel("org.kelpie.Kelpie.Sync.ObserverQueue").front()->runAll();
  fakes.runAll();
  EXPECT_EQ(controller->applicationPid(), 800);
  EXPECT_EQ(fakes.finder.badgeFor("/work/repo/a"), "KPIndexNewBadge");
  ASSERT_NE(repositoryOf(root), nullptr);
  EXPECT_EQ(repositoryOf(root)->state(), 0);
}

TEST_F(PresenceMonitorTest, APidBelowOneClearsAtOnceAndLeavesTheWatch) {
  for (const std::int32_t pid : {0, -1, -7}) {
    startWithApplication();
    openRepository("/work/repo");
    controller->setApplicationPid(pid);
    EXPECT_EQ(controller->applicationPid(), -1) << pid;
    EXPECT_EQ(controller->repositories().size(), 0U) << pid;
    EXPECT_EQ(controller->port(), nullptr) << pid;
    EXPECT_NE(controller->monitor(), nullptr) << pid;
    EXPECT_GE(fakes.processMonitors.running(), 1U) << pid;
    controller.reset();
  }
}

TEST_F(PresenceMonitorTest, ALaterLookThatFindsAnotherVersionCountsAsItsEnd) {
  startWithApplication();
  openRepository("/work/repo");
  fakes.groupDefaults().changeFromOutside("KPApplicationVersion", "2");
  fakes.notifications.deliver("KPApplicationRunning", "");
  fakes.runAll();
  EXPECT_EQ(controller->applicationPid(), -1);
  EXPECT_EQ(controller->repositories().size(), 0U);
}

TEST_F(PresenceMonitorTest, TheWatchOfAFormerProcessStillClears) {
  startWithApplication();
  controller->setApplicationPid(701);
  openRepository("/work/repo");
  EXPECT_EQ(fakes.processMonitors.running(), 2U);
  const auto current = controller->monitor();

  fakes.processMonitors.fire(kPid);
  fakes.runAll();

  EXPECT_EQ(controller->applicationPid(), -1);
  EXPECT_EQ(controller->repositories().size(), 0U);
  EXPECT_EQ(controller->monitor(), nullptr) << "whoever's it was";
  EXPECT_EQ(fakes.processMonitors.running(), 1U) << "the current one goes on";
}

TEST_F(PresenceMonitorTest, AProcessThatIsGoneAlreadyIsNoticedAtOnce) {
  fakes.processMonitors.setGone(kPid);
  launchApplication();
  start();
  EXPECT_EQ(controller->applicationPid(), kPid);
  fakes.runAll();
  EXPECT_EQ(controller->applicationPid(), -1);
}

TEST_F(PresenceMonitorTest, EventsAfterTheFirstAreNotHandled) {
  startWithApplication();
  fakes.processMonitors.fire(kPid);
  fakes.processMonitors.fire(kPid);
  fakes.runAll();
  EXPECT_EQ(fakes.events.count("monitors.cancel"), 1U);
}

}  // namespace
}  // namespace kelpie
