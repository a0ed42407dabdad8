#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

#include "agent/sessions/EarlyFolders.h"
#include "agent/sessions/ReadingSlots.h"
#include "foundation/ThreadBound.h"
#include "linux/base/MainLoop.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"

namespace kelpie::agent {
namespace {

// What belongs to the main thread ends the process where it is called from elsewhere.
class ThreadChecksDeathTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!kThreadChecks) GTEST_SKIP() << "nothing is checked in this build";
  }

  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
};

TEST_F(ThreadChecksDeathTest, FoldersOfAnExtensionOnAnotherThread) {
  EarlyFolders folders("/r");
  const auto askElsewhere = [&] { std::thread([&] { folders.isEcho("/r/a"); }).join(); };
  EXPECT_DEATH(askElsewhere(), "isEcho");
  EXPECT_FALSE(folders.isEcho("/r/a"));
}

TEST_F(ThreadChecksDeathTest, ASlotThatIsGivenBackOnAnotherThread) {
  ReadingSlots slots(loop_, 1);
  ReadingSlots::Ticket held = 0;
  slots.enter(ReadingSlots::Urgency::Status, [&](ReadingSlots::Ticket ticket) { held = ticket; });
  const auto leaveElsewhere = [&] { std::thread([&] { slots.leave(held); }).join(); };
  EXPECT_DEATH(leaveElsewhere(), "leave");
  slots.leave(held);
  EXPECT_EQ(slots.running(), 0U);
}

}  // namespace
}  // namespace kelpie::agent
