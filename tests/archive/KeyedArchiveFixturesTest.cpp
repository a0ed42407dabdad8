// Every archive of the fixtures, written by another implementation, holds what its description
// says: read as a whole, read in place, and again after we have written it.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "archive/ReadingBudget.h"
#include "refs/ReferenceClasses.h"
#include "support/ArchiveJson.h"

namespace kelpie {
namespace {

class KeyedArchiveFixtures : public testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() { registerReferenceClasses(); }

  Bytes archive() const { return archiveFixture(GetParam() + ".bplist"); }
  nlohmann::json expected() const { return archiveFixtureJson(GetParam()); }
};

TEST_P(KeyedArchiveFixtures, DecodesToItsDescription) {
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(archive())), expected());
}

TEST_P(KeyedArchiveFixtures, OpensInPlaceToItsDescription) {
  const auto bytes = std::make_shared<const Bytes>(archive());
  EXPECT_EQ(archiveJson(KeyedUnarchiver::open(bytes)), expected());
}

TEST_P(KeyedArchiveFixtures, IsReadWholeFromWhatItsBytesAllow) {
  const auto bytes = std::make_shared<const Bytes>(archive());
  // Without what is free for any message.
  const std::uint64_t units = ReadingBudget::kUnitsPerByte * bytes->size();
  EXPECT_EQ(archiveJson(KeyedUnarchiver::open(bytes, units).whole()), expected());
}

TEST_P(KeyedArchiveFixtures, ReadsTheSameAfterWeHaveWrittenIt) {
  const auto again = KeyedArchiver::archivedData(KeyedUnarchiver::unarchiveObject(archive()));
  ASSERT_TRUE(again);
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(*again)), expected());
}

TEST_P(KeyedArchiveFixtures, IsWrittenTheSameFromWhereItStands) {
  const auto bytes = std::make_shared<const Bytes>(archive());
  const auto again = KeyedArchiver::archivedData(KeyedUnarchiver::open(bytes));
  ASSERT_TRUE(again);
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(*again)), expected());
}

INSTANTIATE_TEST_SUITE_P(All, KeyedArchiveFixtures, testing::ValuesIn(archiveFixtureNames()),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace kelpie
