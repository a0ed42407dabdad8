// Messages that say little very often: whatever they are for, they take memory and steps in
// proportion to their bytes, and the extension goes on.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "extension/FolderTables.h"
#include "foundation/AllocationMeter.h"
#include "refs/KPRefsManager.h"
#include "status/KPRepository.h"
#include "support/HostileMessages.h"
#include "support/MessageHarness.h"
#include "support/Sanitizers.h"

namespace kelpie {

void PrintTo(const HostileCase& hostile, std::ostream* stream) { *stream << hostile.name; }

namespace {

// What a message may take: so many times its bytes, beyond what any message may.
constexpr std::size_t kTimes = 32;
constexpr std::size_t kFree = std::size_t{16} << 20U;
// Steps, counted as blocks of the heap and pieces of their bytes; and those of the main thread,
// where menus are answered, whatever the message's length.
constexpr std::uint64_t kStepsPerByte = 8;
constexpr std::uint64_t kFreeSteps = std::uint64_t{1} << 20U;
constexpr std::uint64_t kMainThreadSteps = std::uint64_t{1} << 20U;

std::uint64_t stepsOf(const AllocationMeter& meter) {
  constexpr std::uint64_t kPiece = 16;
  return meter.count() + meter.bytes() / kPiece;
}

class HostileMessages : public testing::TestWithParam<HostileCase> {};

TEST_P(HostileMessages, TakeMemoryAndStepsInProportionToTheirBytes) {
  // Of the long ones what is free is a small part.
  for (const std::size_t size :
       {std::size_t{40'000}, std::size_t{110'000}, std::size_t{3'000'000}}) {
    SCOPED_TRACE(size);
    if (kHasAddressSanitizer && size > 1'000'000) continue;
    MessageHarness harness;
    const Bytes message = GetParam().make(size, harness.target(), harness.shownFolders());
    ASSERT_LT(message.size(), 3 * size);
    const AllocationMeter meter;
    harness.handle(message);
    EXPECT_LE(stepsOf(meter), kMainThreadSteps) << "before the main thread goes on";
    harness.runQueues();
    const std::size_t peak = meter.peak();
    const std::uint64_t steps = stepsOf(meter);
    EXPECT_LE(peak, kTimes * message.size() + kFree);
    EXPECT_LE(steps, kStepsPerByte * message.size() + kFreeSteps);
    EXPECT_LE(harness.badges(), message.size());
    RecordProperty("bytes", std::to_string(message.size()));
    RecordProperty("peak", std::to_string(peak));
    RecordProperty("steps", std::to_string(steps));
    // It serves the next one, and menus.
    EXPECT_GT(harness.menuItems(), 0U);
    EXPECT_LE(meter.peak(), kTimes * message.size() + kFree) << "with a menu";
    harness.repository().refsManager()->setStashes(Objects{"one"});
    EXPECT_TRUE(harness.repository().refsManager()->hasStashes());
  }
}

// It names so little so often that nobody reads it: no message to the main application can hold it.
TEST(HostileIdentifier, ThatCannotBeSentBackLeavesARepositoryThatIsOfferedNowhere) {
  const auto isIdentifier = [](const HostileCase& hostile) {
    return hostile.name == "SetIdentifier";
  };
  const auto hostile = std::ranges::find_if(hostileCases(), isIdentifier);
  ASSERT_NE(hostile, hostileCases().end());
  MessageHarness harness;
  const std::size_t items = harness.menuItems();
  harness.handle(hostile->make(3'000'000, harness.target(), harness.shownFolders()));
  harness.runQueues();
  EXPECT_EQ(harness.repository().identifier(), std::nullopt);
  const std::size_t others = harness.menuItems();
  EXPECT_GT(others, 0U);
  EXPECT_LT(others, items);
}

// What a property of the controller holds, for each message above that sets one.
struct PropertyCase {
  std::string_view message;
  std::size_t (*held)(KPKelpieSync& controller);
};

std::size_t observedPaths(KPKelpieSync& controller) {
  std::size_t count = 0;
  for (const auto& set : controller.allObservedFiles()->sets()) count += set->size();
  return count;
}
std::size_t inactiveFolders(KPKelpieSync& controller) {
  std::size_t count = 0;
  for (const auto& [parent, folders] : controller.folders().inactiveFolders())
    count += folders.size();
  return count;
}
std::size_t observedDirectories(KPKelpieSync& controller) {
  return controller.folders().observedDirectories().size();
}
std::size_t targets(KPKelpieSync& controller) { return controller.targetURLs().size(); }
std::size_t senderObjects(KPKelpieSync& controller) {
  return controller.senderObjects().objectForAction("stage:").size();
}

constexpr PropertyCase kProperties[] = {
    {"AllObservedFiles", observedPaths},
    {"InactiveObservedFiles", inactiveFolders},
    {"ObservedDirectories", observedDirectories},
    {"TargetUrls", targets},
    {"SenderObjects", senderObjects},
};

void PrintTo(const PropertyCase& property, std::ostream* stream) { *stream << property.message; }

class HostileProperties : public testing::TestWithParam<PropertyCase> {};

// A property that is read in part only would be as wrong as any other value.
TEST_P(HostileProperties, StayWhatTheyWere) {
  const auto isIt = [](const HostileCase& hostile) { return hostile.name == GetParam().message; };
  const auto hostile = std::ranges::find_if(hostileCases(), isIt);
  ASSERT_NE(hostile, hostileCases().end());
  MessageHarness harness;
  harness.controller().setTargetURLs(
      Objects{URL::fileURLWithPath("/a"), URL::fileURLWithPath("/b")});
  harness.controller().senderObjects().set("stage:", Objects{"c"});
  harness.runQueues();
  const std::size_t before = GetParam().held(harness.controller());
  // Of a longer one the main thread would not reach the property.
  harness.handle(hostile->make(40'000, harness.target(), harness.shownFolders()));
  harness.runQueues();
  EXPECT_EQ(GetParam().held(harness.controller()), before);
  const std::vector<std::string> lines = harness.fakes().log.lines();
  EXPECT_EQ(std::ranges::count(
                lines, "A property that says more than its message's bytes can hold is not set."),
            1);
}

INSTANTIATE_TEST_SUITE_P(All, HostileProperties, testing::ValuesIn(kProperties),
                         [](const auto& test) { return std::string(test.param.message); });

INSTANTIATE_TEST_SUITE_P(All, HostileMessages, testing::ValuesIn(hostileCases()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace kelpie
