#include "status/StatusTable.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "foundation/Object.h"

namespace kelpie {
namespace {

FileIdentifier identifierOf(std::uint64_t number, std::size_t size = 16) {
  Bytes bytes(size, 0);
  for (std::size_t i = 0; i < 8 && i < size; ++i)
    bytes[i] = static_cast<std::uint8_t>(number >> (8 * i));
  return FileIdentifier(bytes);
}

TEST(StatusTable, AnEmptyTableHasNoEntry) {
  const StatusTable table;
  EXPECT_EQ(table.size(), 0U);
  EXPECT_EQ(table.wordOf(identifierOf(1)), std::nullopt);
  EXPECT_EQ(table.wordOrZeroOf(StatusTable::Key::ofPath("/a")), std::nullopt);
}

TEST(StatusTable, RecordAddsAndReplaces) {
  StatusTable table;
  table.record(identifierOf(1), 0x0100);
  table.record(identifierOf(1), 0x0002);
  EXPECT_EQ(table.size(), 1U);
  EXPECT_EQ(table.wordOf(identifierOf(1)), 0x0002);
  EXPECT_EQ(table.wordOf(identifierOf(2)), std::nullopt);
}

TEST(StatusTable, TheWordZeroIsAnEntry) {
  StatusTable table;
  table.record(identifierOf(1), 0);
  EXPECT_EQ(table.wordOf(identifierOf(1)), 0);
}

TEST(StatusTable, AnEntryWithoutAWordIsMetByStagingAlone) {
  StatusTable table;
  table.recordWithoutWord(identifierOf(1));
  EXPECT_EQ(table.wordOf(identifierOf(1)), std::nullopt);
  EXPECT_EQ(table.wordOrZeroOf(identifierOf(1)), 0);
  EXPECT_EQ(table.recordIfMissing(identifierOf(1), 0x4000), 0x4000);
  EXPECT_EQ(table.wordOf(identifierOf(1)), 0x4000);
  EXPECT_EQ(table.size(), 1U);
  table.recordWithoutWord(identifierOf(1));
  EXPECT_EQ(table.wordOf(identifierOf(1)), std::nullopt);
}

TEST(StatusTable, RecordIfMissingKeepsWhatIsThere) {
  StatusTable table;
  EXPECT_EQ(table.recordIfMissing(identifierOf(1), 0), 0);
  table.record(identifierOf(1), 0x0100);
  EXPECT_EQ(table.recordIfMissing(identifierOf(1), 0), 0x0100);
  EXPECT_EQ(table.wordOf(identifierOf(1)), 0x0100);
}

TEST(StatusTable, KeysOfDifferentKindsAndLengthsAreDifferent) {
  StatusTable table;
  const std::string text = "/r/gone.txt \x0E.kelpieDeleted";
  const ByteView bytes = bytesOf(text);
  table.record(StatusTable::Key::ofPath(text), 1);
  table.record(StatusTable::Key::ofIdentifierData(bytes), 2);
  table.record(StatusTable::Key::ofPath("/r"), 3);
  table.record(StatusTable::Key::ofIdentifierData(bytesOf("/r")), 4);
  table.record(identifierOf(7, 15), 5);
  table.record(identifierOf(7, 16), 6);
  table.record(identifierOf(7, 17), 7);
  table.record(StatusTable::Key::ofPath(""), 8);
  EXPECT_EQ(table.size(), 8U);
  EXPECT_EQ(table.wordOf(StatusTable::Key::ofPath(text)), 1);
  EXPECT_EQ(table.wordOf(FileIdentifier(bytes)), 2);
  EXPECT_EQ(table.wordOf(StatusTable::Key::ofPath("/r")), 3);
  EXPECT_EQ(table.wordOf(FileIdentifier(bytesOf("/r"))), 4);
  EXPECT_EQ(table.wordOf(identifierOf(7, 15)), 5);
  EXPECT_EQ(table.wordOf(identifierOf(7, 16)), 6);
  EXPECT_EQ(table.wordOf(identifierOf(7, 17)), 7);
  EXPECT_EQ(table.wordOf(StatusTable::Key::ofPath("")), 8);
}

TEST(StatusTable, AnItemKeyIsWhatItHolds) {
  StatusTable table;
  table.record(ItemKey(identifierOf(3)), 1);
  table.record(ItemKey(std::string("/r/x")), 2);
  EXPECT_EQ(table.wordOf(identifierOf(3)), 1);
  EXPECT_EQ(table.wordOf(StatusTable::Key::ofPath("/r/x")), 2);
}

// Against a map, with keys short and long, through several growths.
TEST(StatusTable, HoldsWhatAMapHolds) {
  std::mt19937_64 random(7);
  for (const std::size_t reserved : {std::size_t{0}, std::size_t{10}, std::size_t{5000}}) {
    StatusTable table(reserved);
    std::map<std::string, StatusWord> expected;
    for (int i = 0; i < 20'000; ++i) {
      const std::uint64_t number = random() % 7000;
      const std::string path(number % 40, 'p');
      const std::string key = path + std::to_string(number);
      const auto word = static_cast<StatusWord>(random());
      table.record(StatusTable::Key::ofPath(key), word);
      expected[key] = word;
    }
    ASSERT_EQ(table.size(), expected.size());
    for (const auto& [key, word] : expected) {
      ASSERT_EQ(table.wordOf(StatusTable::Key::ofPath(key)), word) << key;
      ASSERT_EQ(table.wordOf(StatusTable::Key::ofPath(key + "?")), std::nullopt) << key;
    }
  }
}

}  // namespace
}  // namespace kelpie
