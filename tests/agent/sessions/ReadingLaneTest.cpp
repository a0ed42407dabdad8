#include "agent/sessions/ReadingLane.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "linux/base/MainLoop.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"

namespace kelpie::agent {
namespace {

class ReadingLaneTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()>& done) {
    return loop_.runUntil(done, std::chrono::seconds(20));
  }
  // Long enough for a reading to begin that should not.
  void idle() {
    loop_.runUntil([] { return false; }, ReadingPace::kQuiet * 4);
  }

  static constexpr auto kStatus = ReadingSlots::Urgency::Status;

  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  std::shared_ptr<ReadingSlots> slots_ = std::make_shared<ReadingSlots>(loop_, 1);
  int begun_ = 0;
  ReadingLane lane_{loop_, slots_, kStatus, [this] { ++begun_; }};
};

TEST_F(ReadingLaneTest, NothingIsReadThatNobodyWants) {
  lane_.changed();
  idle();
  EXPECT_EQ(begun_, 0);
  lane_.setWanted(true);
  EXPECT_TRUE(runUntil([&] { return begun_ == 1; })) << "what has changed meanwhile is read";
}

TEST_F(ReadingLaneTest, AChangeDuringAReadingLeadsToOneMore) {
  lane_.setWanted(true);
  lane_.changed();
  ASSERT_TRUE(runUntil([&] { return begun_ == 1; }));
  lane_.changed();
  lane_.changed();
  idle();
  EXPECT_EQ(begun_, 1) << "one at a time";
  lane_.finished(true);
  ASSERT_TRUE(runUntil([&] { return begun_ == 2; }));
  lane_.finished(true);
  idle();
  EXPECT_EQ(begun_, 2);
}

TEST_F(ReadingLaneTest, ALaneWaitsForASlot) {
  ReadingSlots::Ticket other = 0;
  slots_->enter(kStatus, [&](ReadingSlots::Ticket ticket) { other = ticket; });
  lane_.setWanted(true);
  lane_.changed();
  idle();
  EXPECT_EQ(begun_, 0);
  slots_->leave(other);
  EXPECT_EQ(begun_, 1);
  EXPECT_EQ(slots_->running(), 1U);
  lane_.finished(false);
  EXPECT_EQ(slots_->running(), 0U);
}

TEST_F(ReadingLaneTest, ALaneThatGoesGivesItsSlotBack) {
  {
    ReadingLane reading(loop_, slots_, kStatus, [this] { ++begun_; });
    reading.setWanted(true);
    reading.changed();
    ASSERT_TRUE(runUntil([&] { return begun_ == 1; }));
    EXPECT_EQ(slots_->running(), 1U);
  }
  EXPECT_EQ(slots_->running(), 0U);
}

TEST_F(ReadingLaneTest, ALaneThatGoesWhileItWaitsIsPassedOver) {
  ReadingSlots::Ticket other = 0;
  slots_->enter(kStatus, [&](ReadingSlots::Ticket ticket) { other = ticket; });
  {
    ReadingLane waiting(loop_, slots_, kStatus, [this] { ++begun_; });
    waiting.setWanted(true);
    waiting.changed();
    idle();
  }
  slots_->leave(other);
  EXPECT_EQ(begun_, 0);
  EXPECT_EQ(slots_->running(), 0U);
}

TEST_F(ReadingLaneTest, AStatusComesBeforeReferencesThatHaveWaitedLonger) {
  std::string order;
  ReadingSlots::Ticket first = 0;
  slots_->enter(kStatus, [&](ReadingSlots::Ticket ticket) { first = ticket; });
  const auto note = [&](char what) {
    return [&order, what, this](ReadingSlots::Ticket ticket) {
      order += what;
      slots_->leave(ticket);
    };
  };
  slots_->enter(ReadingSlots::Urgency::References, note('r'));
  slots_->enter(kStatus, note('s'));
  slots_->enter(kStatus, note('t'));
  slots_->leave(first);
  EXPECT_EQ(order, "str");
}

TEST_F(ReadingLaneTest, AReadingThatDoesNotEndGivesWayAfterAWhile) {
  ReadingSlots slots(loop_, 1, std::chrono::milliseconds(10));
  int started = 0;
  slots.enter(kStatus, [&](ReadingSlots::Ticket) { ++started; });
  slots.enter(kStatus, [&](ReadingSlots::Ticket) { ++started; });
  EXPECT_EQ(started, 1);
  EXPECT_TRUE(runUntil([&] { return started == 2; }));
}

}  // namespace
}  // namespace kelpie::agent
