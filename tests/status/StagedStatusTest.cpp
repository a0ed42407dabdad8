#include "status/StagedStatus.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "status/WordOracle.h"

namespace kelpie {
namespace {

TEST(StagedStatus, EveryWordButZeroIsStagedAsTheRulesSay) {
  for (unsigned s = 1; s <= 0xFFFF; ++s) {
    ASSERT_EQ(stagedStatusForStatus(static_cast<StatusWord>(s)), oracle::afterStaging(s).value())
        << std::hex << s;
  }
}

TEST(StagedStatus, EveryWordButZeroIsUnstagedAsTheRulesSay) {
  for (unsigned s = 1; s <= 0xFFFF; ++s) {
    ASSERT_EQ(unstagedStatusForStatus(static_cast<StatusWord>(s)),
              oracle::afterUnstaging(s).value())
        << std::hex << s;
  }
}

TEST(StagedStatus, StagingResultsThatLookWrongAndAreRight) {
  struct Case {
    StatusWord word;
    StatusWord want;
  };
  const Case cases[] = {
      {0x0084, 0x0000}, {0x0184, 0x0000}, {0x0004, 0x0002}, {0x0002, 0x0000}, {0x0010, 0x0000},
      {0x0208, 0x0004}, {0x0108, 0x0008}, {0x0100, 0x0002}, {0x4000, 0x0000},
  };
  for (const Case& c : cases) EXPECT_EQ(stagedStatusForStatus(c.word), c.want) << c.word;
}

TEST(StagedStatus, UnstagingDropsTheWorkdirFlags) {
  struct Case {
    StatusWord word;
    StatusWord want;
  };
  const Case cases[] = {{0x0102, 0x0100}, {0x0100, 0x0000}, {0x0018, 0x0400}};
  for (const Case& c : cases) EXPECT_EQ(unstagedStatusForStatus(c.word), c.want) << c.word;
}

// Runs `call` in a process of its own whose main thread ends it after a while, as the platform does
// at SIGTERM, and tells whether the call had returned by then, and what processor time it took.
void endTheProcessAround(StatusWord (*call)(StatusWord), StatusWord word) {
  std::atomic<bool> entered = false;
  std::promise<void> returned;
  std::future<void> result = returned.get_future();
  std::thread([&] {
    entered = true;
    call(word);
    returned.set_value();
  }).detach();
  while (!entered) std::this_thread::yield();
  const std::clock_t before = std::clock();
  const auto limit = std::chrono::milliseconds(300);
  const bool ended = result.wait_for(limit) == std::future_status::ready;
  const std::clock_t used = std::clock() - before;
  const bool burned = used > CLOCKS_PER_SEC / 10;
  std::_Exit(ended ? 1 : burned ? 2 : 0);
}

TEST(StagedStatus, ZeroNeverReturnsUsesNoProcessorAndLetsTheProcessEnd) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endTheProcessAround(&stagedStatusForStatus, 0), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(endTheProcessAround(&unstagedStatusForStatus, 0), testing::ExitedWithCode(0), "");
  // The same harness sees a call that does return.
  EXPECT_EXIT(endTheProcessAround(&stagedStatusForStatus, 1), testing::ExitedWithCode(1), "");
}

}  // namespace
}  // namespace kelpie
