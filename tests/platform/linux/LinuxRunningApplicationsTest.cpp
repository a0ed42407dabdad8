#include "platform/linux/LinuxRunningApplications.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "linux/base/BusName.h"
#include "linux/base/MainLoop.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/linux/OwnProcess.h"
#include "support/linux/PrivateBus.h"

namespace kelpie {
namespace {

constexpr const char* kName = "org.kelpie.Test";
constexpr const char* kAddressVariable = "KELPIE_TEST_BUS";

using Processes = std::vector<std::int32_t>;

class LinuxRunningApplicationsTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }
  std::unique_ptr<SessionBus> connect() const {
    return SessionBus::connectTo(daemon.address()).bus;
  }
  // Takes the name, or a place in its queue.
  std::unique_ptr<BusName> own(const SessionBus& connection) {
    // The handlers live as long as the name, and are called again when whoever was before has
    // ended.
    const auto answered = std::make_shared<bool>(false);
    const auto answer = [answered] { *answered = true; };
    auto name = std::make_unique<BusName>(connection, kName, BusName::Handlers{answer, answer});
    EXPECT_TRUE(runUntil([&] { return *answered; }));
    return name;
  }
  // Another process that does so: see OwnsTheName below.
  std::unique_ptr<ChildProcess> startOwner() const {
    auto process = startDisabledTest("AnotherProcess.DISABLED_OwnsTheName",
                                     {{kAddressVariable, daemon.address()}});
    EXPECT_TRUE(process->waitForOutput("owns or waits")) << process->errors();
    return process;
  }
  Processes running() { return applications.withBundleIdentifier(kName); }

  PrivateBus daemon;
  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  std::unique_ptr<SessionBus> bus = connect();
  LinuxRunningApplications applications{bus.get(), log};
};

// No test: what startOwner() runs as a process of its own.
TEST(AnotherProcess, DISABLED_OwnsTheName) {
  if (!isStartedAsProcess()) GTEST_SKIP() << "runs as another process only";
  EventLog events;
  FakeLog log(events);
  MainLoop loop(log);
  const auto bus = SessionBus::connectTo(std::getenv(kAddressVariable)).bus;
  const auto answer = [] { std::cout << "owns or waits" << std::endl; };
  const BusName name(*bus, kName, {answer, answer});
  loop.run();
}

TEST_F(LinuxRunningApplicationsTest, NobodyHasTheName) {
  EXPECT_EQ(running(), Processes());
  EXPECT_EQ(log.lines(), std::vector<std::string>{});
}

TEST_F(LinuxRunningApplicationsTest, TheOwnerOfTheNameRuns) {
  const auto name = own(*bus);
  EXPECT_EQ(running(), Processes{::getpid()});
  EXPECT_EQ(applications.currentProcessIdentifier(), ::getpid());
}

TEST_F(LinuxRunningApplicationsTest, SoDoThoseThatWaitInItsQueue) {
  const auto first = startOwner();
  const auto name = own(*bus);
  const auto third = startOwner();
  EXPECT_EQ(running(), (Processes{first->pid(), ::getpid(), third->pid()}));
}

TEST_F(LinuxRunningApplicationsTest, AProcessWithTwoConnectionsCountsOnce) {
  const auto other = connect();
  const auto name = own(*bus);
  const auto again = own(*other);
  EXPECT_EQ(running(), Processes{::getpid()});
}

TEST_F(LinuxRunningApplicationsTest, AProcessThatHasEndedDoesNotCount) {
  const auto first = startOwner();
  const auto name = own(*bus);
  first->signal(SIGKILL);
  EXPECT_TRUE(runUntil([&] { return running() == Processes{::getpid()}; }));
}

TEST_F(LinuxRunningApplicationsTest, ABusThatDoesNotAnswerIsNotWaitedForForLong) {
  const auto name = own(*bus);
  daemon.process().signal(SIGSTOP);
  EXPECT_EQ(running(), Processes());
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{
                "the session bus did not say in time who has the name org.kelpie.Test"});
  daemon.process().signal(SIGCONT);
  EXPECT_EQ(running(), Processes{::getpid()});
}

TEST_F(LinuxRunningApplicationsTest, ALongQueueIsLookedAtInPartOnly) {
  std::vector<std::unique_ptr<SessionBus>> connections;
  std::vector<std::unique_ptr<BusName>> names;
  for (int i = 0; i < 64; ++i) {
    connections.push_back(connect());
    names.push_back(own(*connections.back()));
  }
  const auto last = startOwner();
  EXPECT_EQ(running(), Processes{::getpid()});
}

TEST_F(LinuxRunningApplicationsTest, WithoutABusNothingRuns) {
  LinuxRunningApplications none(nullptr, log);
  EXPECT_EQ(none.withBundleIdentifier(kName), Processes());
  EXPECT_EQ(none.currentProcessIdentifier(), ::getpid());
  EXPECT_EQ(log.lines(), std::vector<std::string>{}) << "it was said at the start";
}

TEST_F(LinuxRunningApplicationsTest, WhatIsNoNameRunsNothing) {
  EXPECT_EQ(applications.withBundleIdentifier("no name"), Processes());
  EXPECT_EQ(applications.withBundleIdentifier(""), Processes());
}

}  // namespace
}  // namespace kelpie
