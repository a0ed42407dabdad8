#include "linux/base/MainLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "linux/base/UniqueFd.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"

namespace kelpie {
namespace {

class MainLoopTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }

  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
};

TEST_F(MainLoopTest, TasksFromManyThreadsRunOnTheMainThreadInTheOrderOfEach) {
  std::map<int, std::vector<int>> order;
  const auto main = std::this_thread::get_id();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t, queue = loop.queue()] {
      EXPECT_FALSE(queue->isCurrent());
      for (int i = 0; i < 500; ++i)
        queue->post([&, t, i] {
          EXPECT_EQ(std::this_thread::get_id(), main);
          EXPECT_TRUE(loop.queue()->isCurrent());
          order[t].push_back(i);
        });
    });
  EXPECT_TRUE(runUntil([&] {
    std::size_t sum = 0;
    for (const auto& [thread, own] : order) sum += own.size();
    return sum == 2000;
  }));
  for (std::thread& thread : threads) thread.join();
  for (const auto& [thread, own] : order) EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
}

TEST_F(MainLoopTest, ATaskIsNeverRunInlineAndOtherEventsComeInBetween) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const UniqueFd reader(ends[0]);
  const UniqueFd writer(ends[1]);
  bool heard = false;
  const auto source = loop.watch(reader.get(), G_IO_IN, [&](GIOCondition) { heard = true; });
  ASSERT_EQ(::write(writer.get(), "x", 1), 1);
  std::function<void()> again = [&] { loop.queue()->post(again); };
  loop.queue()->post(again);
  EXPECT_TRUE(runUntil([&] { return heard; })) << "a busy queue must not starve the others";
}

TEST_F(MainLoopTest, AnArgumentErrorCostsItsEventOnly) {
  bool ran = false;
  loop.queue()->post([] { throw std::invalid_argument("absent value"); });
  loop.queue()->post([&] { ran = true; });
  EXPECT_TRUE(runUntil([&] { return ran; }));
  const auto timer = loop.callAfter(std::chrono::milliseconds(0),
                                    [] { throw std::invalid_argument("in a timer"); });
  EXPECT_TRUE(runUntil([&] { return log.lines().size() == 2; }));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{"invalid argument: absent value",
                                                   "invalid argument: in a timer"}));
}

TEST_F(MainLoopTest, ASourceMayBeLetGoInsideItsOwnCallback) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  const UniqueFd reader(ends[0]);
  const UniqueFd writer(ends[1]);
  int calls = 0;
  std::unique_ptr<MainLoop::Source> source;
  source = loop.watch(reader.get(), G_IO_IN, [&](GIOCondition) {
    source.reset();
    ++calls;  // what the callback holds lives until it returns
  });
  ASSERT_EQ(::write(writer.get(), "x", 1), 1);
  EXPECT_TRUE(runUntil([&] { return calls > 0; }));
  bool done = false;
  loop.queue()->post([&] { done = true; });
  EXPECT_TRUE(runUntil([&] { return done; }));
  EXPECT_EQ(calls, 1);
}

TEST_F(MainLoopTest, RunsUntilItIsToldToQuit) {
  int tasks = 0;
  loop.queue()->post([&] { ++tasks; });
  std::thread other([this] { loop.quit(3); });
  EXPECT_EQ(loop.run(), 3);
  other.join();
  loop.queue()->post([&] { ++tasks; });
  EXPECT_LE(tasks, 1);
}

TEST_F(MainLoopTest, WaitingHasALimit) {
  EXPECT_FALSE(loop.runUntil([] { return false; }, std::chrono::milliseconds(1)));
}

// A task may hold what holds the queue.
TEST(MainLoop, WhatWaitsWhenItEndsIsLetGo) {
  EventLog events;
  FakeLog log{events};
  auto loop = std::make_unique<MainLoop>(log);
  const std::shared_ptr<SerialQueue> queue = loop->queue();
  auto before = std::make_shared<int>();
  auto after = std::make_shared<int>();
  const std::weak_ptr<int> isBeforeThere = before;
  const std::weak_ptr<int> isAfterThere = after;
  queue->post([held = std::move(before)] {});
  loop.reset();
  queue->post([held = std::move(after)] {});
  EXPECT_TRUE(isBeforeThere.expired());
  EXPECT_TRUE(isAfterThere.expired());
}

TEST(MainLoop, ItsQueueMayOutliveIt) {
  EventLog events;
  FakeLog log(events);
  std::shared_ptr<SerialQueue> queue;
  {
    const MainLoop loop(log);
    queue = loop.queue();
  }
  queue->post([] { ADD_FAILURE() << "there is nobody to run this"; });
  g_main_context_iteration(nullptr, FALSE);
}

}  // namespace
}  // namespace kelpie
