#include "common/MenuWait.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace kelpie::filemanagers {
namespace {

using namespace std::chrono_literals;

// Serves nothing, and says that the answer came or not.
class MenuWaitTest : public testing::Test {
 protected:
  bool wait(bool comes) {
    return wait_.wait([] { return false; },
                      [&](const std::function<bool()>& /*done*/, std::chrono::milliseconds limit) {
                        ++waits_;
                        EXPECT_EQ(limit, MenuWait::kLimit);
                        return comes;
                      },
                      now_);
  }

  MenuWait wait_;
  MenuWait::Time now_{100s};
  int waits_ = 0;
};

TEST_F(MenuWaitTest, WhatIsThereIsNotWaitedFor) {
  EXPECT_TRUE(wait_.wait([] { return true; },
                         [](const std::function<bool()>& /*done*/, std::chrono::milliseconds) {
                           ADD_FAILURE() << "waited";
                           return false;
                         },
                         now_));
}

TEST_F(MenuWaitTest, WaitsAgainAfterAnAnswer) {
  EXPECT_TRUE(wait(true));
  EXPECT_TRUE(wait(true));
  EXPECT_EQ(waits_, 2);
}

TEST_F(MenuWaitTest, DoesNotWaitAgainSoonAfterAWaitInVain) {
  EXPECT_FALSE(wait(false));
  now_ += MenuWait::kPause - 1ms;
  EXPECT_FALSE(wait(true));
  EXPECT_EQ(waits_, 1);
  now_ += 1ms;
  EXPECT_TRUE(wait(true));
  EXPECT_EQ(waits_, 2);
}

TEST_F(MenuWaitTest, WaitsAgainOnceTheExtensionHasAnsweredLate) {
  EXPECT_FALSE(wait(false));
  wait_.answered();
  EXPECT_TRUE(wait(true));
  EXPECT_EQ(waits_, 2);
}

TEST_F(MenuWaitTest, AWaitThatFailsCountsAsInVain) {
  EXPECT_THROW(
      wait_.wait([] { return false; },
                 [](const std::function<bool()>& /*done*/, std::chrono::milliseconds) -> bool {
                   throw std::runtime_error("broken");
                 },
                 now_),
      std::runtime_error);
  EXPECT_FALSE(wait_.isWaiting());
  EXPECT_FALSE(wait(true));
  now_ += MenuWait::kPause;
  EXPECT_TRUE(wait(true));
}

TEST_F(MenuWaitTest, DoesNotWaitWithinAWait) {
  const bool isThere =
      wait_.wait([] { return false; },
                 [&](const std::function<bool()>& /*done*/, std::chrono::milliseconds) {
                   EXPECT_TRUE(wait_.isWaiting());
                   EXPECT_FALSE(wait(true));
                   return true;
                 },
                 now_);
  EXPECT_TRUE(isThere);
  EXPECT_FALSE(wait_.isWaiting());
  EXPECT_EQ(waits_, 0);
}

}  // namespace
}  // namespace kelpie::filemanagers
