#include "archive/BinaryPropertyList.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace kelpie {
namespace {

using Type = BinaryPropertyList::Type;
using Item = BinaryPropertyList::Item;

constexpr std::uint32_t kFirst = 8;  // where the one object begins

// A list of one object, of whatever bytes, whose references are `width` bytes wide.
Bytes listOf(const Bytes& object, std::uint8_t width) {
  const std::string_view magic = "bplist00";
  Bytes list(magic.begin(), magic.end());
  list.insert(list.end(), object.begin(), object.end());
  const std::size_t table = list.size();
  list.push_back(kFirst);
  list.insert(list.end(), 32, 0);
  std::uint8_t* const trailer = &list[list.size() - 32];
  trailer[6] = 1;  // bytes of an offset
  trailer[7] = width;
  trailer[15] = 1;  // objects
  trailer[30] = static_cast<std::uint8_t>(table >> 8U);
  trailer[31] = static_cast<std::uint8_t>(table);
  return list;
}

Item readItem(const Bytes& object, std::uint8_t width = 1) {
  const Bytes bytes = listOf(object, width);
  const auto list = BinaryPropertyList::open(bytes);
  EXPECT_TRUE(list);
  if (!list) return {};
  const Item item = list->item(0);
  const Item again = list->itemAt(kFirst);
  EXPECT_EQ(item.type, again.type);
  EXPECT_EQ(item.count, again.count);
  return item;
}

// What the format says of a marker, written down without the reader's tables.
struct Form {
  Type type;
  std::uint32_t count;
  std::size_t size;   // bytes of all contents
  std::size_t begin;  // of the contents, from the marker on
};
std::optional<Form> formOf(unsigned marker, std::size_t width) {
  const unsigned low = marker % 16;
  const std::uint32_t power = 1U << low;
  switch (marker / 16) {
    case 0x0:
      if (low == 8 || low == 9) return Form{Type::Boolean, 1, 1, 0};
      break;
    case 0x1:
      if (low <= 4) return Form{Type::Integer, power, power, 1};
      break;
    case 0x2:
      if (low == 2 || low == 3) return Form{Type::Real, power, power, 1};
      break;
    case 0x3:
      if (low == 3) return Form{Type::Date, 8, 8, 1};
      break;
    case 0x4:
      return Form{Type::Data, low, low, 1};
    case 0x5:
      return Form{Type::Ascii, low, low, 1};
    case 0x6:
      return Form{Type::Utf16, low, std::size_t{2} * low, 1};
    case 0x8:
      if (low < 8) return Form{Type::Uid, low + 1, low + std::size_t{1}, 1};
      break;
    case 0xA:
      return Form{Type::Array, low, width * low, 1};
    case 0xC:
      return Form{Type::Set, low, width * low, 1};
    case 0xD:
      return Form{Type::Dictionary, low, 2 * width * low, 1};
    default:
      break;
  }
  return std::nullopt;
}

bool hasItsCountBehind(unsigned marker) {
  const unsigned kind = marker / 16;
  return marker % 16 == 15 && ((4 <= kind && kind <= 6) || kind == 0xA || kind >= 0xC);
}

TEST(BinaryPropertyList, AMarkerSaysWhatTheFormatSays) {
  for (const std::uint8_t width : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{8}}) {
    for (unsigned marker = 0; marker < 256; ++marker) {
      if (hasItsCountBehind(marker)) continue;
      SCOPED_TRACE(testing::Message() << "marker " << marker << ", references of " << +width);
      const std::optional<Form> form = formOf(marker, width);
      Bytes object(1 + (form ? form->size * form->begin : 300), 0);
      object.front() = static_cast<std::uint8_t>(marker);
      const Item item = readItem(object, width);
      EXPECT_EQ(item.type, form ? form->type : Type::None);
      if (!form) continue;
      EXPECT_EQ(item.offset, kFirst);
      EXPECT_EQ(item.contents, kFirst + form->begin);
      EXPECT_EQ(item.count, form->count);
      if (object.size() == 1) continue;
      object.pop_back();
      EXPECT_EQ(readItem(object, width).type, Type::None) << "a byte of it is missing";
    }
  }
}

// An object whose count is the integer of these bytes, with so many bytes of contents.
Bytes longObject(std::uint8_t marker, std::uint8_t integer, const Bytes& count,
                 std::size_t contents) {
  Bytes object = {marker, integer};
  object.insert(object.end(), count.begin(), count.end());
  object.insert(object.end(), contents, 0);
  return object;
}

TEST(BinaryPropertyList, ACountThatStandsBehindTheMarkerIsAnInteger) {
  struct Row {
    std::uint8_t marker;
    Type type;
    std::size_t elementSize;  // with references of two bytes
  };
  constexpr Row kRows[] = {
      {0x4F, Type::Data, 1},  {0x5F, Type::Ascii, 1}, {0x6F, Type::Utf16, 2},
      {0xAF, Type::Array, 2}, {0xCF, Type::Set, 2},   {0xDF, Type::Dictionary, 4},
  };
  const std::vector<Bytes> twenty = {{20}, {0, 20}, {0, 0, 0, 20}, {0, 0, 0, 0, 0, 0, 0, 20}};
  for (const Row& row : kRows) {
    for (std::size_t power = 0; power < twenty.size(); ++power) {
      SCOPED_TRACE(testing::Message() << "marker " << +row.marker << ", power " << power);
      const auto integer = static_cast<std::uint8_t>(0x10 + power);
      Bytes object = longObject(row.marker, integer, twenty[power], 20 * row.elementSize);
      const Item item = readItem(object, 2);
      EXPECT_EQ(item.type, row.type);
      EXPECT_EQ(item.count, 20U);
      EXPECT_EQ(item.contents, kFirst + 2 + twenty[power].size());
      object.pop_back();
      EXPECT_EQ(readItem(object, 2).type, Type::None) << "a byte of it is missing";
    }
    const Bytes sixteen(16, 0);
    EXPECT_EQ(readItem(longObject(row.marker, 0x14, sixteen, 100), 2).type, Type::None);
    EXPECT_EQ(readItem(longObject(row.marker, 0x50, {}, 100), 2).type, Type::None) << "no integer";
    EXPECT_EQ(readItem({row.marker}, 2).type, Type::None) << "nothing behind it";
    EXPECT_EQ(readItem({row.marker, 0x11, 0}, 2).type, Type::None) << "half an integer";
  }
}

// As many bytes as the product of both, cut to 64 bits, would be there.
TEST(BinaryPropertyList, ACountThatOverflowsIsNotBelieved) {
  for (const Bytes& count : {Bytes{0x80, 0, 0, 0, 0, 0, 0, 0}, Bytes{0x40, 0, 0, 0, 0, 0, 0, 1},
                             Bytes{0x20, 0, 0, 0, 0, 0, 0, 0}, Bytes(8, 0xFF)}) {
    for (const std::uint8_t marker : Bytes{0x4F, 0x6F, 0xAF, 0xDF}) {
      EXPECT_EQ(readItem(longObject(marker, 0x13, count, 100), 2).type, Type::None);
      EXPECT_EQ(readItem(longObject(marker, 0x13, count, 100), 8).type, Type::None);
    }
  }
}

TEST(BinaryPropertyList, OfALongIntegerTheLastEightBytesCount) {
  Bytes object = {0x14, 1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0, 0, 0, 1, 2};
  const Bytes bytes = listOf(object, 1);
  const auto list = BinaryPropertyList::open(bytes);
  ASSERT_TRUE(list);
  EXPECT_EQ(list->integer(list->item(0)), 0x102U);
}

}  // namespace
}  // namespace kelpie
