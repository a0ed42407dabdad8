#include "archive/PropertyList.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/AllocationMeter.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "support/ArchiveJson.h"
#include "support/RawPropertyList.h"

namespace kelpie {
namespace {

using nlohmann::json;

TEST(PropertyList, PlainValuesComeBack) {
  const Object values[] = {"text",
                           "mü😀",
                           "",
                           "$null",
                           Bytes{1, 2},
                           Bytes(1000, 3),
                           5,
                           -5,
                           UINT64_MAX,
                           true,
                           false,
                           1.5,
                           Object::date(86400),
                           Objects{},
                           Objects{1, "a", Objects{2}},
                           Dictionary{},
                           Dictionary{{"a", 1}, {"b", Dictionary{{"c", Objects{true}}}}}};
  for (const Object& value : values) {
    const auto bytes = PropertyList::write(value);
    ASSERT_TRUE(bytes) << value.description();
    EXPECT_EQ(archiveJson(PropertyList::read(*bytes)), archiveJson(value));
  }
}

TEST(PropertyList, WhatItCannotHoldIsNotWritten) {
  const Object values[] = {Object(),
                           *URL::fromString("http://a/"),
                           Error{"d", 1, {}},
                           Object::set({1}),
                           Objects{1, Object()},
                           Objects{Objects{*URL::fromString("http://a/")}},
                           Dictionary{{1, "number as key"}}};
  for (const Object& value : values)
    EXPECT_FALSE(PropertyList::write(value)) << value.description();
}

TEST(PropertyList, WhatAnArchiveHoldsCanBeWritten) {
  const auto archive = KeyedArchiver::archivedData(Dictionary{{"a", Objects{1, "b"}}});
  ASSERT_TRUE(archive);
  const Object opened = KeyedUnarchiver::open(std::make_shared<const Bytes>(*archive));
  const auto bytes = PropertyList::write(opened);
  ASSERT_TRUE(bytes);
  EXPECT_TRUE(PropertyList::read(*bytes).isEqual(opened));
}

TEST(PropertyList, OtherBytesAreNil) {
  EXPECT_TRUE(PropertyList::read({}).isNil());
  EXPECT_TRUE(PropertyList::read(bytesOf("<?xml version=\"1.0\"?><plist/>")).isNil());
  const Bytes whole = PropertyList::write(Dictionary{{"a", "b"}}).value_or(Bytes());
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_TRUE(PropertyList::read(ByteView(whole).first(length)).isNil()) << length;
}

TEST(PropertyList, AUidIsLeftOut) {
  RawPropertyList list;
  const auto uid = list.uid(1);
  const auto text = list.ascii("a");
  EXPECT_EQ(archiveJson(PropertyList::read(list.finish(list.array({uid, text})))),
            json({{"$array", {"a"}}}));
  EXPECT_TRUE(PropertyList::read(list.finish(uid)).isNil());
}

// It could not be written again: settings that were read so would never change any more.
TEST(PropertyList, WhatHasAKeyThatIsNoStringIsNil) {
  for (const bool isDeep : {false, true}) {
    RawPropertyList list;
    const auto text = list.ascii("a");
    const auto odd = list.dictionary({{list.data({1, 2}), text}, {text, text}});
    const auto top = isDeep ? list.dictionary({{list.ascii("deep"), odd}}) : odd;
    EXPECT_TRUE(PropertyList::read(list.finish(top)).isNil());
  }
}

TEST(PropertyList, WhatHoldsItselfIsNil) {
  RawPropertyList list(1);
  const auto self = list.raw({0xA1, 0x00});  // an array of object 0, which it is
  EXPECT_TRUE(PropertyList::read(list.finish(self)).isNil());
}

TEST(PropertyList, NestingUpToTheLimit) {
  const auto nested = [](int depth) {
    RawPropertyList list(4);
    auto inner = list.array({});
    for (int level = 1; level < depth; ++level) inner = list.array({inner});
    return list.finish(inner);
  };
  EXPECT_FALSE(PropertyList::read(nested(256)).isNil());
  EXPECT_TRUE(PropertyList::read(nested(257)).isNil());
  EXPECT_TRUE(PropertyList::read(nested(100000)).isNil());

  Object object = Objects{};
  for (int depth = 1; depth < 256; ++depth) object = Objects{object};
  EXPECT_TRUE(PropertyList::write(object));
  EXPECT_FALSE(PropertyList::write(Objects{object}));
}

TEST(PropertyList, WhatIsMetTwiceIsMadeAndWrittenOnce) {
  RawPropertyList list(4);
  auto inner = list.ascii("ha");
  for (int level = 0; level < 60; ++level) inner = list.array({inner, inner, inner, inner});
  const Bytes bytes = list.finish(inner);
  const AllocationMeter meter;
  const Object read = PropertyList::read(bytes);
  EXPECT_LT(meter.peak(), 100 * bytes.size());
  ASSERT_FALSE(read.isNil());
  const auto again = PropertyList::write(read);
  ASSERT_TRUE(again);
  EXPECT_LT(again->size(), 2 * bytes.size());
  EXPECT_TRUE(PropertyList::read(*again).isEqual(read));
}

TEST(PropertyList, ManyNumbersForOneArrayAreRefused) {
  RawPropertyList list(4);
  std::vector<RawPropertyList::Number> all;
  // 20,000 arrays of 20,000 elements each, overlapping in the bytes.
  const Bytes elements(20000 * 4, 0);
  for (int index = 0; index < 20000; ++index)
    all.push_back(index == 0 ? list.ascii("x") : list.raw({0xAF, 0x12, 0, 0, 0x4E, 0x20}));
  list.raw(elements);
  const Bytes bytes = list.finish(list.array(all));
  const AllocationMeter meter;
  EXPECT_TRUE(PropertyList::read(bytes).isNil());
  EXPECT_LT(meter.peak(), 100 * bytes.size());
}

}  // namespace
}  // namespace kelpie
