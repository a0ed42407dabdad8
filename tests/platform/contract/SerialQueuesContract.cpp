#include "platform/contract/SerialQueuesContract.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace kelpie {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SerialQueuesContract);

namespace {

TEST_P(SerialQueuesContract, TasksRunInTheOrderOfTheirArrival) {
  for (const bool isMain : {true, false}) {
    const auto queue =
        isMain ? world->queues().mainQueue() : world->queues().makeQueue("org.kelpie.test");
    std::vector<int> order;
    std::atomic<bool> isDone = false;
    for (int i = 0; i < 100; ++i) queue->post([&order, i] { order.push_back(i); });
    queue->post([&] { isDone = true; });
    ASSERT_TRUE(world->runUntil([&] { return isDone.load(); }));
    EXPECT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
  }
}

TEST_P(SerialQueuesContract, ATaskIsNeverRunWhereItIsPosted) {
  for (const bool isMain : {true, false}) {
    const auto queue = isMain ? world->queues().mainQueue() : world->queues().makeQueue("test");
    std::atomic<bool> isInside = false;
    std::atomic<bool> wasInside = false;
    std::atomic<bool> isDone = false;
    queue->post([&] {
      isInside = true;
      queue->post([&] {
        wasInside = isInside.load();
        isDone = true;
      });
      isInside = false;
    });
    ASSERT_TRUE(world->runUntil([&] { return isDone.load(); }));
    EXPECT_FALSE(wasInside) << "one at a time";
  }
}

TEST_P(SerialQueuesContract, AQueueKnowsItsOwnTasks) {
  const auto queue = world->queues().makeQueue("a");
  const auto other = world->queues().makeQueue("a");
  std::atomic<bool> knows = false;
  std::atomic<bool> isDone = false;
  queue->post([&] {
    knows = queue->isCurrent() && !other->isCurrent();
    isDone = true;
  });
  ASSERT_TRUE(world->runUntil([&] { return isDone.load(); }));
  EXPECT_TRUE(knows);
  EXPECT_FALSE(queue->isCurrent());
}

TEST_P(SerialQueuesContract, WhatWasPostedRunsWhenNobodyHoldsTheQueue) {
  std::atomic<int> ran = 0;
  {
    auto queue = world->queues().makeQueue("a");
    SerialQueue& self = *queue;
    // Inside of its own task, with another one posted, the last holder lets go.
    queue->post([&ran, &self, held = std::move(queue)]() mutable {
      self.post([&ran] { ++ran; });
      held.reset();
      ++ran;
    });
  }
  EXPECT_TRUE(world->runUntil([&] { return ran == 2; }));
}

TEST_P(SerialQueuesContract, EveryThreadMayPost) {
  const auto queue = world->queues().makeQueue("a");
  int count = 0;  // one at a time
  std::atomic<bool> isDone = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      for (int k = 0; k < 50; ++k) queue->post([&count] { ++count; });
    });
  for (std::thread& thread : threads) thread.join();
  queue->post([&] { isDone = true; });
  ASSERT_TRUE(world->runUntil([&] { return isDone.load(); }));
  EXPECT_EQ(count, 200);
}

TEST_P(SerialQueuesContract, TheMainQueueIsOneForAll) {
  bool isDone = false;
  bool knows = false;
  world->queues().mainQueue()->post([&] {
    knows = world->queues().mainQueue()->isCurrent();
    isDone = true;
  });
  ASSERT_TRUE(world->runUntil([&] { return isDone; }));
  EXPECT_TRUE(knows);
}

}  // namespace
}  // namespace kelpie
