#include "linux/base/ThreadPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"

namespace kelpie {
namespace {

// A task that runs until it is let go.
class Blocker {
 public:
  // Posts the task and waits until it runs.
  void block(SerialQueue& queue) {
    const auto running = std::make_shared<std::promise<void>>();
    queue.post([running, released = released_, returned = returned_] {
      running->set_value();
      released.wait();
      ++*returned;
    });
    running->get_future().wait();
  }
  void release() { release_.set_value(); }
  int returned() const { return *returned_; }

 private:
  std::promise<void> release_;
  std::shared_future<void> released_ = release_.get_future().share();
  // Shared with the tasks, which may end after the test has let the blocker go.
  std::shared_ptr<std::atomic<int>> returned_ = std::make_shared<std::atomic<int>>(0);
};

class ThreadPoolTest : public testing::Test {
 protected:
  // Whether a task posted now gets its turn.
  static bool runs(SerialQueue& queue) {
    auto done = std::make_shared<std::promise<void>>();
    queue.post([done] { done->set_value(); });
    return done->get_future().wait_for(kLongEnough) == std::future_status::ready;
  }

  EventLog events;
  FakeLog log{events};
};

TEST_F(ThreadPoolTest, TasksOfAQueueRunInOrderOneAtATime) {
  std::vector<int> order;
  std::atomic<int> running = 0;
  {
    ThreadPool pool(log, 4);
    const auto queue = pool.makeQueue("test");
    for (int i = 0; i < 1000; ++i)
      queue->post([&order, &running, i] {
        EXPECT_EQ(++running, 1);
        order.push_back(i);
        --running;
      });
  }
  ASSERT_EQ(order.size(), 1000U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(ThreadPoolTest, ManyQueuesShareFewThreads) {
  std::atomic<int> done = 0;
  std::mutex mutex;
  std::set<std::thread::id> threads;
  {
    ThreadPool pool(log, 3);
    std::vector<std::shared_ptr<SerialQueue>> queues;
    for (int i = 0; i < 100; ++i) queues.push_back(pool.makeQueue("test"));
    for (int round = 0; round < 20; ++round)
      for (const auto& queue : queues)
        queue->post([&] {
          ++done;
          const std::lock_guard lock(mutex);
          threads.insert(std::this_thread::get_id());
        });
    EXPECT_LE(pool.threads(), 3U);
  }
  EXPECT_EQ(done, 2000);
  EXPECT_LE(threads.size(), 3U);
}

TEST_F(ThreadPoolTest, TasksOfDifferentQueuesRunAtTheSameTime) {
  ThreadPool pool(log, 2);
  const auto first = pool.makeQueue("first");
  const auto second = pool.makeQueue("second");
  Blocker blocker;
  blocker.block(*first);
  EXPECT_TRUE(runs(*second));
  blocker.release();
}

TEST_F(ThreadPoolTest, AWhileAfterTheLastWorkOneThreadIsLeft) {
  ThreadPool pool(log, 4, std::chrono::milliseconds(20));
  std::vector<std::shared_ptr<SerialQueue>> queues;
  for (int i = 0; i < 4; ++i) queues.push_back(pool.makeQueue("test"));
  for (int round = 0; round < 3; ++round) {
    Blocker blocker;
    for (const auto& queue : queues) blocker.block(*queue);
    EXPECT_EQ(pool.threads(), 4U);
    blocker.release();
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (pool.threads() > 1 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    EXPECT_EQ(pool.threads(), 1U);
    for (const auto& queue : queues) EXPECT_TRUE(runs(*queue));
  }
}

TEST_F(ThreadPoolTest, WorkThatNeverReturnsCostsItsOwnQueueOnly) {
  std::atomic<bool> waited = false;
  ThreadPool pool(log, 2);
  Blocker blocker;
  std::vector<std::shared_ptr<SerialQueue>> stuck;
  for (int i = 0; i < 7; ++i) {
    stuck.push_back(pool.makeQueue("stuck"));
    blocker.block(*stuck.back());  // itself proves that the former ones cost nobody else
  }
  const auto healthy = pool.makeQueue("healthy");
  EXPECT_TRUE(runs(*healthy));
  stuck[0]->post([&waited] { waited = true; });
  EXPECT_TRUE(runs(*healthy));
  EXPECT_FALSE(waited) << "a queue runs one task at a time";
  EXPECT_GE(pool.threads(), 8U);
  blocker.release();
  EXPECT_TRUE(runs(*stuck[0]));
  EXPECT_TRUE(waited);
}

TEST_F(ThreadPoolTest, ThreadsThatCameBackAreLetGo) {
  ThreadPool pool(log, 2);
  Blocker blocker;
  std::vector<std::shared_ptr<SerialQueue>> stuck;
  for (int i = 0; i < 6; ++i) {
    stuck.push_back(pool.makeQueue("stuck"));
    blocker.block(*stuck.back());
  }
  blocker.release();
  for (const auto& queue : stuck) EXPECT_TRUE(runs(*queue));
  const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
  while (pool.threads() > 2 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::yield();
  EXPECT_LE(pool.threads(), 2U);
  EXPECT_EQ(blocker.returned(), 6);
}

TEST_F(ThreadPoolTest, AQueueKnowsItsOwnTasks) {
  std::promise<std::pair<bool, bool>> seen;
  ThreadPool pool(log, 2);
  const auto queue = pool.makeQueue("one");
  const auto other = pool.makeQueue("other");
  EXPECT_FALSE(queue->isCurrent());
  queue->post([&] { seen.set_value({queue->isCurrent(), other->isCurrent()}); });
  EXPECT_EQ(seen.get_future().get(), std::pair(true, false));
}

TEST_F(ThreadPoolTest, AQueueMayBeLetGoInsideItsOwnTask) {
  std::vector<int> order;
  {
    // The pool goes first, and waits for the tasks, which use the others.
    std::shared_ptr<SerialQueue> queue;
    std::promise<void> posted;
    ThreadPool pool(log, 1);
    queue = pool.makeQueue("test");
    queue->post([&, ready = posted.get_future().share()] {
      ready.wait();
      order.push_back(1);
      queue.reset();
    });
    queue->post([&] { order.push_back(2); });
    posted.set_value();
  }
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(ThreadPoolTest, ATaskIsNeverRunInline) {
  std::promise<std::thread::id> ran;
  std::promise<bool> returnedFirst;
  ThreadPool pool(log, 2);
  const auto queue = pool.makeQueue("test");
  queue->post([&] {
    bool inner = false;
    queue->post([&ran] { ran.set_value(std::this_thread::get_id()); });
    returnedFirst.set_value(!inner);
  });
  EXPECT_TRUE(returnedFirst.get_future().get());
  EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
}

TEST_F(ThreadPoolTest, AnArgumentErrorCostsItsTaskOnly) {
  {
    ThreadPool pool(log, 1);
    const auto queue = pool.makeQueue("test");
    queue->post([] { throw std::invalid_argument("no\nvalue"); });
    EXPECT_TRUE(runs(*queue));
  }
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"invalid argument: no\nvalue"}));
}

TEST_F(ThreadPoolTest, AQueueMayOutliveThePool) {
  std::shared_ptr<SerialQueue> queue;
  {
    ThreadPool pool(log, 1);
    queue = pool.makeQueue("test");
  }
  queue->post([] { ADD_FAILURE() << "there is nobody to run this"; });
  EXPECT_FALSE(queue->isCurrent());
}

}  // namespace
}  // namespace kelpie
