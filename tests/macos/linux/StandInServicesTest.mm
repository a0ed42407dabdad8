#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "macos/MainLoop.h"
#include "macos/system/MessagePorts.h"
#include "macos/system/SuiteDefaults.h"
#include "platform/macos/MacMessagePorts.h"
#include "platform/macos/MacUserDefaults.h"

// What the services do when other processes do something that only a stand-in does on demand.
namespace kelpie {
namespace {

TEST(MacDefaultsOfASuite, TellOfChangesByOthersOnTheMainThread) {
  const auto suite = MacUserDefaultsCenter().defaultsWithSuiteName("suite");
  [[HostSuiteDefaults suiteNamed:@"suite"] removeAllObjects];
  int changes = 0;
  bool isOnMainThread = false;
  auto observation = suite->observe("key", [&] {
    isOnMainThread = [NSThread isMainThread] == YES;
    ++changes;
  });
  [[HostSuiteDefaults suiteNamed:@"suite"] setElsewhere:@"text" forKey:@"key"];
  EXPECT_EQ(changes, 0) << "never inline";
  ASSERT_TRUE(runUntil([&] { return changes == 1; }));
  EXPECT_TRUE(isOnMainThread);
}

// Others may wait in front of a message, but not longer than it has time itself.
TEST(MacPortsThatAreBusy, AMessageWaitsForOthersNoLongerThanItsTimeOut) {
  MacMessagePorts ports;
  const auto local = ports.createLocal("port", [](std::int32_t, const std::shared_ptr<const Bytes>&,
                                                  const LocalMessagePort::Completion&) {});
  const auto remote = ports.createRemote("port");
  ASSERT_NE(remote, nullptr);
  constexpr std::chrono::minutes kLong{10};
  system::setReceiversBusy(true);
  auto first = std::async(std::launch::async, [&] { return remote->send(1, {1}, kLong, kLong); });
  EXPECT_TRUE(runUntil([] { return system::waitingSends() == 1; }));
  auto second = std::async(std::launch::async, [&] {
    return remote->send(1, {2}, std::chrono::milliseconds(10), kLong);
  });
  EXPECT_TRUE(runUntil(
      [&] { return second.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
  EXPECT_EQ(system::waitingSends(), 1) << "the first still has time";
  system::setReceiversBusy(false);
  EXPECT_EQ(first.get(), RemoteMessagePort::kSuccess);
  EXPECT_EQ(second.get(), RemoteMessagePort::kSendTimeout);
}

}  // namespace
}  // namespace kelpie
