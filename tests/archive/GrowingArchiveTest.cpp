// Archives of few bytes that would become much: the same object named again and again, keys that
// cannot be told apart, names without end. Reading them ends soon and takes memory in proportion to
// the bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "archive/HostileReading.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/AllocationMeter.h"
#include "foundation/Dictionary.h"
#include "foundation/ObjectView.h"
#include "support/ArchiveJson.h"
#include "support/RawPropertyList.h"

namespace kelpie {
namespace {

using Number = RawPropertyList::Number;

// `levels` objects, each holding the next `width` times.
Bytes laughs(int levels, std::size_t width,
             const std::function<std::uint32_t(RawArchive&, std::uint32_t, std::size_t)>& wrap) {
  RawArchive archive(4, 4);
  std::uint32_t inner = archive.addString("ha");
  for (int level = 0; level < levels; ++level) inner = wrap(archive, inner, width);
  return archive.finish(inner);
}

struct Wrapping {
  const char* why;
  std::function<std::uint32_t(RawArchive&, std::uint32_t, std::size_t)> wrap;
};
void PrintTo(const Wrapping& wrapping, std::ostream* stream) { *stream << wrapping.why; }

const Wrapping kWrappings[] = {
    {"arrays",
     [](RawArchive& a, std::uint32_t inner, std::size_t width) {
       return a.addArray(std::vector<std::uint32_t>(width, inner));
     }},
    {"sets",
     [](RawArchive& a, std::uint32_t inner, std::size_t width) {
       const Number members = a.references(std::vector<std::uint32_t>(width, inner));
       return a.addObject({"NSSet", "NSObject"}, {{"NS.objects", members}});
     }},
    {"values of dictionaries",
     [](RawArchive& a, std::uint32_t inner, std::size_t width) {
       std::vector<std::uint32_t> keys;
       for (std::size_t key = 0; key < width; ++key)
         keys.push_back(a.addString(std::to_string(key)));
       return a.addDictionary(keys, std::vector<std::uint32_t>(width, inner));
     }},
    {"keys and values of dictionaries",
     [](RawArchive& a, std::uint32_t inner, std::size_t /*width*/) {
       return a.addDictionary({inner, a.addArray({inner})}, {inner, inner});
     }},
    {"unknown objects",
     [](RawArchive& a, std::uint32_t inner, std::size_t width) {
       const Number many = a.references(std::vector<std::uint32_t>(width, inner));
       return a.addObject({"XYThing", "NSObject"}, {{"many", many}});
     }},
    {"errors",
     [](RawArchive& a, std::uint32_t inner, std::size_t /*width*/) {
       const std::uint32_t info =
           a.addDictionary({a.addString("one"), a.addString("two")}, {inner, inner});
       return a.addObject({"NSError", "NSObject"}, {{"NSUserInfo", a.reference(info)}});
     }},
};

class LaughingArchive : public testing::TestWithParam<Wrapping> {};

TEST_P(LaughingArchive, TakeMemoryAndTimeInProportionToTheBytes) {
  const Bytes bytes = laughs(60, 10, GetParam().wrap);
  const AllocationMeter meter;
  const Object whole = KeyedUnarchiver::unarchiveObject(bytes);
  ASSERT_FALSE(whole.isNil());
  EXPECT_LT(meter.peak(), 100 * bytes.size());
  // Nothing that is done with it follows every path.
  EXPECT_TRUE(whole.isEqual(KeyedUnarchiver::unarchiveObject(bytes)));
  EXPECT_TRUE(whole.isEqual(open(bytes)));
  const Bytes other = laughs(59, 10, GetParam().wrap);
  EXPECT_FALSE(whole.isEqual(KeyedUnarchiver::unarchiveObject(other)));
  const auto again = KeyedArchiver::archivedData(whole);
  ASSERT_TRUE(again);
  EXPECT_LT(again->size(), 2 * bytes.size());
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(*again).isEqual(whole));
  use(bytes);
}

INSTANTIATE_TEST_SUITE_P(All, LaughingArchive, testing::ValuesIn(kWrappings),
                         [](const auto& test) { return "Wrapping" + std::to_string(test.index); });

TEST(GrowingArchive, ManyNumbersForOneArrayOfAllOfThem) {
  // Each of 50,000 objects is the same array, which holds all 50,000.
  constexpr std::uint32_t kCount = 50000;
  RawArchive archive(4, 4);
  std::vector<std::uint32_t> all;
  for (std::uint32_t index = 0; index < kCount; ++index) all.push_back(archive.reserve());
  const Number references = archive.references(all);
  const Number array = archive.object({"NSArray", "NSObject"}, {{"NS.objects", references}});
  for (const std::uint32_t uid : all) archive.set(uid, array);
  const Bytes bytes = archive.finish(all.front());

  const AllocationMeter meter;
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytes).isNil());
  EXPECT_LT(meter.peak(), 100 * bytes.size());
  EXPECT_EQ(open(bytes).size(), kCount);
}

TEST(GrowingArchive, ALongStringUnderManyNumbersIsMadeOnce) {
  RawArchive archive(4, 4);
  const Number text = archive.list.ascii(std::string(1000000, 'x'));
  std::vector<std::uint32_t> uids;
  for (int index = 0; index < 10000; ++index) uids.push_back(archive.add(text));
  const Bytes bytes = archive.finish(archive.addArray(uids));
  const AllocationMeter meter;
  const Object read = KeyedUnarchiver::unarchiveObject(bytes);
  EXPECT_EQ(read.at(9999).stringValue().size(), 1000000U);
  EXPECT_LT(meter.peak(), 8 * bytes.size());
}

TEST(GrowingArchive, ALongTextOfManyMutableStringsIsRefused) {
  RawArchive archive(4, 4);
  const Number text = archive.list.ascii(std::string(1000000, 'x'));
  std::vector<std::uint32_t> uids;
  for (int index = 0; index < 10000; ++index) {
    uids.push_back(
        archive.addObject({"NSMutableString", "NSString", "NSObject"}, {{"NS.string", text}}));
  }
  const Bytes bytes = archive.finish(archive.addArray(uids));
  const AllocationMeter meter;
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytes).isNil());
  EXPECT_LT(meter.peak(), 20 * bytes.size());
}

TEST(GrowingArchive, ManyUrlsOnOneLongBaseAreRefused) {
  for (const std::size_t length : {16000U, 1000000U}) {
    RawArchive archive(4, 4);
    const std::uint32_t base = archive.addUrl(0, "file:///" + std::string(length, 'x') + "/");
    std::vector<std::uint32_t> uids;
    for (int index = 0; index < 20000; ++index) uids.push_back(archive.addUrl(base, "a"));
    const Bytes bytes = archive.finish(archive.addArray(uids));
    const AllocationMeter meter;
    const Object read = KeyedUnarchiver::unarchiveObject(bytes);
    EXPECT_TRUE(read.at(0).isNil());
    EXPECT_LT(meter.peak(), 60 * bytes.size()) << length;
  }
}

TEST(GrowingArchive, KeysThatCannotBeToldApartByTheirHash) {
  // Arrays hash by what is at their surface, so that each of these would be compared with each.
  RawArchive archive(4, 4);
  std::vector<std::uint32_t> keys;
  for (int index = 0; index < 50000; ++index) {
    const std::uint32_t number =
        archive.add(archive.list.integer(static_cast<std::uint64_t>(index)));
    keys.push_back(archive.addArray({archive.addArray({number})}));
  }
  const Bytes bytes = archive.finish(archive.addDictionary(keys, keys));
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytes).isNil());
  EXPECT_LE(open(bytes).dictionary().size(), 50000U);
}

TEST(GrowingArchive, AnObjectOfManyKeysThatIsMetManyTimes) {
  RawArchive archive(4, 4);
  const Number key = archive.list.ascii("key");
  std::vector<std::pair<Number, Number>> fields(100000, {key, key});
  const std::uint32_t of = archive.classNamed({"NSArray", "NSObject"});
  fields.emplace_back(archive.list.ascii("$class"), archive.reference(of));
  const std::uint32_t object = archive.add(archive.list.dictionary(fields));
  const Bytes bytes = archive.finish(archive.addArray(std::vector<std::uint32_t>(200000, object)));
  std::size_t count = 0;
  ObjectView(open(bytes)).forEachElement([&](ObjectView element) {
    EXPECT_TRUE(element.isNil());
    ++count;
    return true;
  });
  EXPECT_EQ(KeyedUnarchiver::unarchiveObject(bytes).size(), 200000U);
}

TEST(GrowingArchive, AClassWithAHundredThousandAncestors) {
  RawArchive archive(4, 4);
  std::vector<std::string> names(100000, "XYThing");
  for (std::size_t index = 0; index < names.size(); ++index) names[index] += std::to_string(index);
  names.emplace_back("NSArray");
  std::vector<std::uint32_t> uids;
  const Number object = archive.object(names, {});
  for (int index = 0; index < 20000; ++index) uids.push_back(archive.add(object));
  const Bytes bytes = archive.finish(archive.addArray(uids));
  use(bytes);
  EXPECT_EQ(open(bytes).at(0).kind(), Object::Kind::Opaque);
}

TEST(GrowingArchive, ObjectsInTheMiddleOfOthers) {
  // Every byte of a run that looks like arrays of what follows is an object of its own.
  RawPropertyList raw(2, 4);
  Bytes run(4000, 0xA8);
  raw.raw(run);
  Bytes bytes = raw.finish(0);
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytes).isNil());

  RawArchive archive(1, 1);
  std::vector<std::uint32_t> uids;
  for (int index = 0; index < 100; ++index) {
    uids.push_back(
        archive.add(archive.list.raw(Bytes(3, static_cast<std::uint8_t>(0xA0 + index % 16)))));
  }
  use(archive.finish(archive.addArray(uids)));
}

}  // namespace
}  // namespace kelpie
