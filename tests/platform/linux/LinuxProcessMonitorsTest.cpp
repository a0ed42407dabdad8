#include "platform/linux/LinuxProcessMonitors.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/linux/ChildProcess.h"

namespace kelpie {
namespace {

std::ptrdiff_t openFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

class LinuxProcessMonitorsTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }
  // Lets all tasks run that are there.
  void settle() {
    bool done = false;
    loop.queue()->post([&] { loop.queue()->post([&] { done = true; }); });
    ASSERT_TRUE(runUntil([&] { return done; }));
  }
  // A watch that counts its events in `exits`.
  std::shared_ptr<ProcessMonitor> watch(std::int32_t pid) {
    auto monitor = monitors->makeMonitor(pid);
    monitor->setEventHandler([this] { ++exits; });
    return monitor;
  }

  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  std::unique_ptr<LinuxProcessMonitors> monitors = std::make_unique<LinuxProcessMonitors>(loop);
  ChildProcess child{{"sleep", "1000"}};
  int exits = 0;
};

TEST_F(LinuxProcessMonitorsTest, TheExitOfTheProcessIsOneEvent) {
  const auto monitor = watch(child.pid());
  monitor->resume();
  settle();
  EXPECT_EQ(exits, 0);
  child.signal(SIGTERM);
  EXPECT_TRUE(runUntil([&] { return exits > 0; }));
  settle();
  EXPECT_EQ(exits, 1);
}

TEST_F(LinuxProcessMonitorsTest, AnEndThatHasHappenedCanBeHandledAtOnceAndIsHandledOnce) {
  const auto monitor = watch(child.pid());
  monitor->resume();
  monitors->handleEnds();
  EXPECT_EQ(exits, 0) << "it runs";
  child.signal(SIGKILL);
  ASSERT_TRUE(child.waitForEnd());
  // The main loop has not run since.
  monitors->handleEnds();
  EXPECT_EQ(exits, 1);
  monitors->handleEnds();
  settle();
  EXPECT_EQ(exits, 1);
}

TEST_F(LinuxProcessMonitorsTest, HandlingEndsLeavesOutWatchesThatAreCancelledOrNotResumed) {
  const auto cancelled = watch(child.pid());
  const auto waiting = watch(child.pid());
  cancelled->resume();
  cancelled->cancel();
  child.signal(SIGKILL);
  ASSERT_TRUE(child.waitForEnd());
  monitors->handleEnds();
  EXPECT_EQ(exits, 0);
}

TEST_F(LinuxProcessMonitorsTest, ASignalThatDoesNotEndTheProcessCannotBeSeen) {
  const auto monitor = watch(child.pid());
  monitor->resume();
  child.signal(SIGSTOP);
  child.signal(SIGCONT);
  settle();
  EXPECT_EQ(exits, 0);
}

TEST_F(LinuxProcessMonitorsTest, AProcessThatIsGoneGivesItsEventWhenTheWatchIsResumed) {
  const pid_t pid = child.pid();
  const auto early = watch(pid);
  child.signal(SIGKILL);
  ASSERT_TRUE(child.waitForEnd());
  const auto late = watch(pid);
  settle();
  EXPECT_EQ(exits, 0);
  early->resume();
  EXPECT_TRUE(runUntil([&] { return exits == 1; }));
  late->resume();
  EXPECT_TRUE(runUntil([&] { return exits == 2; }));
}

TEST_F(LinuxProcessMonitorsTest, AResumedWatchLivesWhenNobodyHoldsIt) {
  watch(child.pid())->resume();
  child.signal(SIGKILL);
  EXPECT_TRUE(runUntil([&] { return exits == 1; }));
}

TEST_F(LinuxProcessMonitorsTest, AWatchThatIsNotResumedGivesNoEvent) {
  const auto monitor = watch(child.pid());
  child.signal(SIGKILL);
  ASSERT_TRUE(child.waitForEnd());
  settle();
  EXPECT_EQ(exits, 0);
}

TEST_F(LinuxProcessMonitorsTest, ACancelledWatchGivesNoEventAndRunsItsCancelHandlerOnce) {
  int cancels = 0;
  const auto monitor = watch(child.pid());
  monitor->setCancelHandler([&] { ++cancels; });
  monitor->resume();
  monitor->cancel();
  monitor->cancel();
  EXPECT_EQ(cancels, 0) << "on the main thread";
  child.signal(SIGKILL);
  ASSERT_TRUE(child.waitForEnd());
  settle();
  EXPECT_EQ(cancels, 1);
  EXPECT_EQ(exits, 0);
}

TEST_F(LinuxProcessMonitorsTest, TheEventHandlerMayCancelItsWatch) {
  bool cancelled = false;
  auto monitor = monitors->makeMonitor(child.pid());
  monitor->setEventHandler([weak = std::weak_ptr(monitor)] { weak.lock()->cancel(); });
  monitor->setCancelHandler([&] { cancelled = true; });
  monitor->resume();
  const std::weak_ptr<ProcessMonitor> held = monitor;
  monitor.reset();
  child.signal(SIGKILL);
  EXPECT_TRUE(runUntil([&] { return cancelled; }));
  settle();
  EXPECT_TRUE(held.expired()) << "nothing is left of it";
}

TEST_F(LinuxProcessMonitorsTest, ManyWatchesOnOneProcessShareADescriptor) {
  const auto first = watch(child.pid());
  const auto before = openFiles();
  for (int i = 0; i < 100; ++i) watch(child.pid())->resume();
  EXPECT_EQ(openFiles(), before);
  child.signal(SIGKILL);
  EXPECT_TRUE(runUntil([&] { return exits == 100; }));
}

TEST_F(LinuxProcessMonitorsTest, DescriptorsAreClosedWithTheLastWatch) {
  const auto before = openFiles();
  auto monitor = watch(child.pid());
  EXPECT_EQ(openFiles(), before + 1);
  monitor->resume();
  monitor->cancel();
  monitor.reset();
  settle();
  EXPECT_EQ(openFiles(), before);
}

TEST_F(LinuxProcessMonitorsTest, AProcessThatCannotBeWatchedIsOneLogLine) {
  const auto monitor = watch(-7);
  monitor->resume();
  settle();
  EXPECT_EQ(exits, 0);
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"the end of process -7 cannot be seen: Invalid argument"});
}

TEST_F(LinuxProcessMonitorsTest, WatchesMayOutliveTheirMaker) {
  const auto resumed = watch(child.pid());
  const auto waiting = watch(child.pid());
  resumed->resume();
  monitors.reset();
  waiting->resume();
  child.signal(SIGKILL);
  ASSERT_TRUE(child.waitForEnd());
  settle();
  waiting->cancel();
  settle();
  EXPECT_EQ(exits, 0);
}

}  // namespace
}  // namespace kelpie
