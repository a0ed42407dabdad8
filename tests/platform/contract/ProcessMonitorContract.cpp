#include "platform/contract/ProcessMonitorContract.h"

#include <memory>

namespace kelpie {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ProcessMonitorContract);

namespace {

TEST_P(ProcessMonitorContract, TheEndOfTheProcessIsAnEvent) {
  int events = 0;
  const auto monitor = watch(events);
  monitor->resume();
  world->end();
  EXPECT_EQ(events, 0) << "never inline";
  EXPECT_TRUE(world->runUntil([&] { return events > 0; }));
}

TEST_P(ProcessMonitorContract, AnEndBeforeTheWatchIsAnEventOnceItIsResumed) {
  int events = 0;
  int witnessed = 0;
  const auto witness = watch(witnessed);
  witness->resume();
  const auto monitor = watch(events);
  world->end();
  ASSERT_TRUE(world->runUntil([&] { return witnessed > 0; }));
  EXPECT_EQ(events, 0) << "it is not resumed yet";
  monitor->resume();
  EXPECT_TRUE(world->runUntil([&] { return events > 0; }));
}

TEST_P(ProcessMonitorContract, AWatchThatIsCancelledGivesNoEvent) {
  int events = 0;
  int witnessed = 0;
  bool isCancelled = false;
  const auto monitor = watch(events);
  monitor->setCancelHandler([&isCancelled] { isCancelled = true; });
  monitor->resume();
  const auto witness = watch(witnessed);
  witness->resume();
  monitor->cancel();
  EXPECT_FALSE(isCancelled) << "never inline";
  world->end();
  EXPECT_TRUE(world->runUntil([&] { return isCancelled && witnessed > 0; }));
  EXPECT_EQ(events, 0);
}

TEST_P(ProcessMonitorContract, ACancelledWatchTellsItOnceAndLetsGoOfItsHandlers) {
  const auto held = std::make_shared<int>(0);
  int cancelled = 0;
  const auto monitor = world->monitors().makeMonitor(world->pid());
  monitor->setEventHandler([held] {});
  monitor->setCancelHandler([held, &cancelled] { ++cancelled; });
  monitor->resume();
  monitor->cancel();
  monitor->cancel();
  EXPECT_TRUE(world->runUntil([&] { return cancelled > 0 && held.use_count() == 1; }));
  EXPECT_EQ(cancelled, 1);
}

TEST_P(ProcessMonitorContract, AResumedWatchLivesWhenNobodyHoldsIt) {
  int events = 0;
  watch(events)->resume();
  world->end();
  EXPECT_TRUE(world->runUntil([&] { return events > 0; }));
}

TEST_P(ProcessMonitorContract, EveryWatchOnAProcessHasItsEvent) {
  int first = 0;
  int second = 0;
  const auto one = watch(first);
  const auto other = watch(second);
  one->resume();
  other->resume();
  world->end();
  EXPECT_TRUE(world->runUntil([&] { return first > 0 && second > 0; }));
}

}  // namespace
}  // namespace kelpie
