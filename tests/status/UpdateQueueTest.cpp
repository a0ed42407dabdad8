#include "status/UpdateQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/ManualQueue.h"

namespace kelpie {
namespace {

class UpdateQueueTest : public testing::Test {
 protected:
  std::atomic<std::uint64_t> order = 0;
  std::shared_ptr<ManualQueue> below = std::make_shared<ManualQueue>("below", order);
  UpdateQueue queue{below};
  std::vector<int> ran;
};

TEST_F(UpdateQueueTest, RunsItsTasksInOrderOnTheQueueBelow) {
  bool wasCurrent = false;
  queue.post([&] { ran.push_back(1); });
  queue.post([&] {
    ran.push_back(2);
    wasCurrent = queue.isCurrent();
  });
  EXPECT_TRUE(ran.empty());
  below->runAll();
  EXPECT_EQ(ran, (std::vector<int>{1, 2}));
  EXPECT_TRUE(wasCurrent);
  EXPECT_FALSE(queue.isCurrent());
}

TEST_F(UpdateQueueTest, ClosedItHoldsNothingAndTakesNothing) {
  const auto before = std::make_shared<int>(1);
  const auto after = std::make_shared<int>(2);
  queue.post([&, before] { ran.push_back(*before); });
  EXPECT_FALSE(queue.isClosed());
  queue.close();
  EXPECT_TRUE(queue.isClosed());
  EXPECT_EQ(before.use_count(), 1) << "though the queue below has run nothing";
  const std::size_t waiting = below->pending();
  queue.post([&, after] { ran.push_back(*after); });
  EXPECT_EQ(after.use_count(), 1);
  EXPECT_EQ(below->pending(), waiting);
  below->runAll();
  EXPECT_TRUE(ran.empty());
}

TEST_F(UpdateQueueTest, ATaskThatClosesItRunsToItsEndAndIsTheLast) {
  queue.post([&] {
    queue.close();
    ran.push_back(1);
  });
  queue.post([&] { ran.push_back(2); });
  below->runAll();
  EXPECT_EQ(ran, std::vector<int>{1});
}

TEST_F(UpdateQueueTest, WhatWaitsGoesWithTheQueue) {
  const auto held = std::make_shared<int>(1);
  auto another = std::make_unique<UpdateQueue>(below);
  another->post([held] {});
  another = nullptr;
  EXPECT_EQ(held.use_count(), 1);
  below->runAll();
}

}  // namespace
}  // namespace kelpie
