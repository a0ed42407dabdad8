// Messages that say little very often: whatever they are for, they take memory and steps in
// proportion to their bytes, and the extension goes on.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "foundation/AllocationMeter.h"
#include "status/KPRepository.h"
#include "support/HostileMessages.h"
#include "support/MessageHarness.h"

namespace kelpie {

void PrintTo(const HostileCase& hostile, std::ostream* stream) { *stream << hostile.name; }

namespace {

// What a message may take: so many times its bytes, beyond what any message may.
constexpr std::size_t kTimes = 32;
constexpr std::size_t kFree = std::size_t{16} << 20U;

class HostileMessages : public testing::TestWithParam<HostileCase> {};

TEST_P(HostileMessages, TakeMemoryAndStepsInProportionToTheirBytes) {
  for (const std::size_t size : {std::size_t{40'000}, std::size_t{110'000}}) {
    MessageHarness harness;
    const Bytes message = GetParam().make(size, harness.target(), harness.shownFolder());
    ASSERT_LT(message.size(), 3 * size);
    const AllocationMeter meter;
    harness.handle(message);
    harness.runQueues();
    const std::size_t peak = meter.peak();
    const std::uint64_t blocks = meter.count();
    EXPECT_LE(peak, kTimes * message.size() + kFree);
    // A block that is taken stands for a step that does something.
    EXPECT_LE(blocks, kTimes * message.size());
    EXPECT_LE(harness.badges(), message.size());
    RecordProperty("bytes", std::to_string(message.size()));
    RecordProperty("peak", std::to_string(peak));
    RecordProperty("blocks", std::to_string(blocks));
    // It serves the next one, and menus.
    EXPECT_GT(harness.menuItems(), 0U);
    EXPECT_LE(meter.peak(), kTimes * message.size() + kFree) << "with a menu";
    harness.repository().setStashes(Objects{"one"});
    EXPECT_TRUE(harness.repository().hasStashes());
  }
}

INSTANTIATE_TEST_SUITE_P(All, HostileMessages, testing::ValuesIn(hostileCases()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace kelpie
