#include "agent/sessions/StatusProof.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "linux/base/MainLoop.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"

namespace kelpie::agent {
namespace {

class StatusProofTest : public testing::Test {
 protected:
  bool waitFor(const std::function<bool()>& done) {
    return loop_.runUntil(done, std::chrono::seconds(20));
  }
  // Longer than any of its timers: they fire in the order of their times.
  void letTimersPass() {
    bool passed = false;
    const auto timer = loop_.callAfter(std::chrono::milliseconds(300), [&] { passed = true; });
    EXPECT_TRUE(waitFor([&] { return passed; }));
  }

  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  int begun_ = 0;
  StatusProof proof_{loop_, "/r", std::chrono::milliseconds(1), [this] { ++begun_; }};
};

TEST_F(StatusProofTest, IsBegunOnceAfterPartsWereRead) {
  letTimersPass();
  EXPECT_EQ(begun_, 0) << "nothing was read";
  proof_.partsRead();
  proof_.partsRead();
  ASSERT_TRUE(waitFor([&] { return begun_ > 0; }));
  proof_.proved("");
  letTimersPass();
  EXPECT_EQ(begun_, 1);
  EXPECT_EQ(proof_.defects(), 0U);
}

TEST_F(StatusProofTest, AReadingOfTheWholeMakesItNeedless) {
  proof_.partsRead();
  proof_.wholeRead();
  letTimersPass();
  EXPECT_EQ(begun_, 0);
}

TEST_F(StatusProofTest, ADifferenceIsLoggedAndCounted) {
  proof_.proved("1, the first of them f");
  ASSERT_TRUE(waitFor([&] { return proof_.defects() == 1; }));
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_NE(log_.lines().front().find("/r: "), std::string::npos);
  EXPECT_NE(log_.lines().front().find("the first of them f"), std::string::npos);
}

TEST_F(StatusProofTest, ADifferenceThatAChangeExplainsIsNone) {
  proof_.proved("1, the first of them f");
  proof_.changed();
  letTimersPass();
  EXPECT_EQ(proof_.defects(), 0U);
}

}  // namespace
}  // namespace kelpie::agent
