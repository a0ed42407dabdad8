#include "foundation/HashIndex.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>

namespace kelpie {
namespace {

bool always(std::size_t /*position*/) { return true; }

TEST(HashIndex, FindsNothingWhileNothingWasAdded) {
  const HashIndex index;
  EXPECT_TRUE(index.empty());
  EXPECT_EQ(index.find(7, always), std::nullopt);
}

TEST(HashIndex, FindsEachOfManyByItsHashHoweverOftenItGrows) {
  constexpr std::size_t kCount = 10'000;
  HashIndex index;
  for (std::size_t i = 0; i < kCount; ++i) index.add(i * i, i);
  for (std::size_t i = 0; i < kCount; ++i)
    EXPECT_EQ(index.find(i * i, [i](std::size_t position) { return position == i; }), i);
  EXPECT_FALSE(index.empty());
}

TEST(HashIndex, OfEqualHashesFindsTheOneThatFits) {
  HashIndex index;
  for (std::size_t i = 0; i < 100; ++i) index.add(42, i);
  EXPECT_EQ(index.find(42, [](std::size_t position) { return position == 99; }), 99U);
  EXPECT_EQ(index.find(42, [](std::size_t /*position*/) { return false; }), std::nullopt);
}

TEST(HashIndex, HasNothingAfterItWasClearedAndTakesMore) {
  HashIndex index;
  for (std::size_t i = 0; i < 100; ++i) index.add(i, i);
  index.clear();
  EXPECT_TRUE(index.empty());
  EXPECT_EQ(index.find(7, always), std::nullopt);
  index.add(7, 3);
  EXPECT_EQ(index.find(7, always), 3U);
}

TEST(HashIndex, ACopyFindsWhatTheOriginalFinds) {
  HashIndex index;
  for (std::size_t i = 0; i < 100; ++i) index.add(i, i);
  HashIndex copy = index;
  for (std::size_t i = 100; i < 1000; ++i) copy.add(i, i);
  for (std::size_t i = 0; i < 1000; ++i)
    EXPECT_EQ(copy.find(i, [i](std::size_t position) { return position == i; }), i);
  EXPECT_EQ(index.find(500, [](std::size_t position) { return position == 500; }), std::nullopt);
}

// Numbers are their own hashes, so whoever sends them chooses these. If the slots followed the hash
// as it stands, each row but the first would have searches pass thousands of others.
TEST(HashIndex, HashesThatWereChosenToMeetDoNotMeet) {
  constexpr std::size_t kCount = 20'000;
  constexpr unsigned kShifts[] = {0, 6, 16, 20, 32, 40};
  for (const unsigned shift : kShifts) {
    HashIndex index;
    for (std::size_t i = 0; i < kCount; ++i) index.add(i << shift, i);
    EXPECT_LT(index.longestRun(), 200U) << shift;
    EXPECT_GT(index.longestRun(), 1U) << shift;
  }
}

}  // namespace
}  // namespace kelpie
