#include "agent/WaitingCopies.h"

#include <gtest/gtest.h>

#include "support/EventLog.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeProcessMonitors.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {
namespace {

class WaitingCopiesTest : public testing::Test {
 protected:
  void hear(const std::string& pid) {
    notifications_.deliver("KPApplicationWaiting", pid);
    queues_.runAll();
  }

  EventLog events_;
  ManualQueues queues_{events_};
  FakeNotificationCenter notifications_{events_, queues_.mainQueue()};
  FakeProcessMonitors monitors_{events_, queues_.mainQueue()};
  int ended_ = 0;
  WaitingCopies copies_{notifications_, monitors_, 100, [this] { ++ended_; }};
};

TEST_F(WaitingCopiesTest, TheEndOfACopyThatWaitedIsSaid) {
  hear("7");
  hear("8");
  hear("7");
  EXPECT_EQ(copies_.count(), 2U);
  monitors_.fire(7);
  queues_.runAll();
  EXPECT_EQ(ended_, 1);
  EXPECT_EQ(copies_.count(), 1U);
  hear("7");
  monitors_.fire(7);
  queues_.runAll();
  EXPECT_EQ(ended_, 2) << "another process with the same id";
}

TEST_F(WaitingCopiesTest, ACopyThatIsGoneAlreadyIsSaidToHaveEnded) {
  monitors_.setGone(7);
  hear("7");
  EXPECT_EQ(ended_, 1);
}

TEST_F(WaitingCopiesTest, ACopySaysThatItWaitsAndDoesNotWatchItself) {
  copies_.sayWaiting();
  queues_.runAll();
  ASSERT_EQ(notifications_.posted().size(), 1U);
  EXPECT_EQ(notifications_.posted()[0].object, "100");
  EXPECT_EQ(copies_.count(), 0U);
}

TEST_F(WaitingCopiesTest, WhatIsNoProcessIdIsIgnoredAndNotTooManyAreWatched) {
  for (const char* text : {"", "x", "-1", "0", "7x", "99999999999999999999", " 7"}) hear(text);
  EXPECT_EQ(copies_.count(), 0U);
  for (int pid = 1000; pid < 2000; ++pid) hear(std::to_string(pid));
  EXPECT_EQ(copies_.count(), WaitingCopies::kMaximum);
}

}  // namespace
}  // namespace kelpie::agent
