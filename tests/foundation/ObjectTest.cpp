#include "foundation/Object.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/AllocationMeter.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/MenuItem.h"
#include "foundation/ObjectView.h"
#include "foundation/OpaqueObject.h"
#include "support/FakeFileSystem.h"
#include "support/ScopedFileSystem.h"

namespace kelpie {
namespace {

URL url(std::string_view text) { return *URL::fromString(text); }

TEST(Object, IsCheapToCopy) {
  static_assert(sizeof(Object) <= 32);
  const Object array = Objects{"a", "b", Objects(1000, Object("c"))};
  const Object number = 5;
  const AllocationMeter meter;
  const Object copy = array;
  const Object other = number;
  EXPECT_EQ(meter.count(), 0U);
  EXPECT_EQ(copy.sharedAddress(), array.sharedAddress());
}

TEST(Object, SmallValuesTakeNothingFromTheHeap) {
  const AllocationMeter meter;
  const Object values[] = {Object(), true, 5, std::uint64_t{1} << 63U, 1.5, Object::date(3)};
  EXPECT_EQ(values[2].integerValue(), 5);
  EXPECT_EQ(meter.count(), 0U);
}

// -- Numbers --------------------------------------------------------------------------------------

struct Conversion {
  Object number;
  std::int64_t integer;
  std::uint64_t unsignedInteger;
  std::uint16_t unsignedShort;
  bool boolean;
  double real;
};

TEST(Object, NumbersConvertToEachOther) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
  const Conversion conversions[] = {
      {true, 1, 1, 1, true, 1},
      {false, 0, 0, 0, false, 0},
      {-1, -1, UINT64_MAX, 0xFFFF, true, -1},
      {UINT64_MAX, -1, UINT64_MAX, 0xFFFF, true, 18446744073709551615.0},
      {0x12345, 0x12345, 0x12345, 0x2345, true, 0x12345},
      {0x10000, 0x10000, 0x10000, 0, true, 0x10000},
      {1.9, 1, 1, 1, true, 1.9},
      {-1.9, -1, UINT64_MAX, 0xFFFF, true, -1.9},
      {0.4, 0, 0, 0, true, 0.4},
      {1e300, kMost, UINT64_MAX, 0xFFFF, true, 1e300},
      {-1e300, kLeast, std::uint64_t{1} << 63U, 0, true, -1e300},
      {9223372036854775808.0, kMost, std::uint64_t{1} << 63U, 0, true, 9223372036854775808.0},
      {Object(), 0, 0, 0, false, 0},
      {"12", 0, 0, 0, false, 0},
      {Object::date(12), 0, 0, 0, false, 0},
      {Objects{1}, 0, 0, 0, false, 0},
  };
  for (const Conversion& conversion : conversions) {
    const Object& number = conversion.number;
    EXPECT_EQ(number.integerValue(), conversion.integer) << number.description();
    EXPECT_EQ(number.unsignedIntegerValue(), conversion.unsignedInteger) << number.description();
    EXPECT_EQ(number.unsignedShortValue(), conversion.unsignedShort) << number.description();
    EXPECT_EQ(number.boolValue(), conversion.boolean) << number.description();
    EXPECT_EQ(number.doubleValue(), conversion.real) << number.description();
    const ObjectView view(number);
    EXPECT_EQ(view.integerValue(), conversion.integer) << number.description();
    EXPECT_EQ(view.unsignedShortValue(), conversion.unsignedShort) << number.description();
    EXPECT_EQ(view.boolValue(), conversion.boolean) << number.description();
  }
  EXPECT_EQ(Object(std::nan("")).integerValue(), 0);
}

TEST(Object, OnlyNumbersBelowZeroAreNegative) {
  EXPECT_TRUE(Object(-1).isNegative());
  EXPECT_TRUE(Object(-0.5).isNegative());
  EXPECT_FALSE(Object(UINT64_MAX).isNegative());
  EXPECT_FALSE(Object("-1").isNegative());
}

// -- Reading leniently ----------------------------------------------------------------------------

TEST(Object, WhatIsOfAnotherClassReadsAsNothing) {
  const Object others[] = {Object(),
                           5,
                           "text",
                           Bytes{1},
                           url("http://a/"),
                           Objects{1},
                           Dictionary{{"key", 1}},
                           Error{"d", 1, {}},
                           Object::set({1})};
  for (const Object& object : others) {
    EXPECT_EQ(object.string().has_value(), object.isString()) << object.description();
    EXPECT_EQ(object.data().has_value(), object.kind() == Object::Kind::Data);
    EXPECT_EQ(object.url().has_value(), object.kind() == Object::Kind::Url);
    EXPECT_EQ(object.error().has_value(), object.kind() == Object::Kind::Error);
    EXPECT_EQ(object["key"].isNil(), !object.isDictionary());
    EXPECT_EQ(object.dictionary().empty(), !object.isDictionary());
    EXPECT_EQ(object.archivable(), nullptr);
    EXPECT_EQ(object.opaque(), nullptr);
    EXPECT_TRUE(object.at(1).isNil());
    EXPECT_EQ(object.at(0).isNil(), object.elements().empty()) << object.description();
    EXPECT_EQ(object.stringValue(), object.isString() ? "text" : "");
  }
  EXPECT_EQ(Object("text").size(), 0U);
}

TEST(Object, APathIsAStringOrDataWhenItIsNotUtf8) {
  EXPECT_EQ(Object::path("/tmp/ü").kind(), Object::Kind::String);
  EXPECT_EQ(Object::path("/tmp/\xFC").kind(), Object::Kind::Data);
  for (const std::string_view path : {"/tmp/ü", "/tmp/\xFC", "", "/tmp/\xED\xA0\x80"}) {
    EXPECT_EQ(Object::path(path).pathBytes(), path);
    EXPECT_EQ(ObjectView(Object::path(path)).pathBytes(), path);
  }
  EXPECT_FALSE(Object(5).pathBytes());
}

TEST(Object, MissingValuesAreNil) {
  EXPECT_TRUE(Object::orNil(std::optional<URL>()).isNil());
  EXPECT_TRUE(Object::orNil(std::optional<FileIdentifier>()).isNil());
  EXPECT_TRUE(Object(std::shared_ptr<const Archivable>()).isNil());
  EXPECT_EQ(Object::orNil(url("http://a/")).kind(), Object::Kind::Url);
}

TEST(Object, MutabilityIsOfTheClassAlone) {
  const Object values[] = {"text", Bytes{1}, Objects{1}, Object::set({1}), Dictionary{{"a", 1}}};
  for (const Object& value : values) {
    const Object copy = value.mutableCopy();
    EXPECT_FALSE(value.isMutable());
    EXPECT_TRUE(copy.isMutable());
    EXPECT_EQ(copy.kind(), value.kind());
    EXPECT_TRUE(copy.isEqual(value) && value.isEqual(copy));
    EXPECT_EQ(copy.hash(), value.hash());
    EXPECT_NE(copy.sharedAddress(), value.sharedAddress());
  }
  EXPECT_FALSE(Object(5).mutableCopy().isMutable());
}

// -- Equality -------------------------------------------------------------------------------------

// Equal both ways and of one hash, or unequal both ways.
void expectEqual(const Object& a, const Object& b, bool equal) {
  EXPECT_EQ(a.isEqual(b), equal) << a.description() << " " << b.description();
  EXPECT_EQ(b.isEqual(a), equal) << a.description() << " " << b.description();
  if (equal) {
    EXPECT_EQ(a.hash(), b.hash()) << a.description() << " " << b.description();
  }
}

TEST(Object, NilEqualsNothing) {
  expectEqual(Object(), Object(), false);
  expectEqual(Object(), 0, false);
  expectEqual(Object(), "", false);
}

TEST(Object, NumbersAreEqualByValueWhateverTheirWidth) {
  expectEqual(1, true, true);
  expectEqual(0, false, true);
  expectEqual(1, 1.0, true);
  expectEqual(-3, -3.0, true);
  expectEqual(std::uint8_t{200}, std::int64_t{200}, true);
  expectEqual(UINT64_MAX, 18446744073709551615.0, false);  // that real is 2^64
  expectEqual(std::uint64_t{1} << 63U, 9223372036854775808.0, true);
  expectEqual(UINT64_MAX, -1, false);
  expectEqual(std::int64_t{9007199254740993}, 9007199254740992.0, false);
  expectEqual(1.5, 1.5, true);
  expectEqual(0.0, -0.0, true);
  expectEqual(std::nan(""), std::nan(""), true);
  expectEqual(std::nan(""), 0.5, false);
  expectEqual(std::numeric_limits<double>::infinity(), 1e308, false);
  expectEqual(1, "1", false);
  expectEqual(1, Object::date(1), false);
}

TEST(Object, TextsDataAndDatesAreEqualByContent) {
  expectEqual("abc", std::string("abc"), true);
  expectEqual("abc", "abd", false);
  expectEqual("abc", Bytes{'a', 'b', 'c'}, false);
  expectEqual(Bytes{1, 2}, Bytes{1, 2}, true);
  expectEqual(Bytes{1, 2}, Bytes{1, 2, 0}, false);
  expectEqual(Object::date(5), Object::date(5), true);
  expectEqual(Object::date(5), Object::date(6), false);
}

TEST(Object, ContainersAreEqualByContent) {
  expectEqual(Objects{1, "a"}, Objects{1.0, "a"}, true);
  expectEqual(Objects{1, "a"}, Objects{"a", 1}, false);
  expectEqual(Objects{}, Objects{}, true);
  expectEqual(Objects{Object()}, Objects{Object()}, true);
  expectEqual(Objects{Object()}, Objects{}, false);
  expectEqual(Objects{Objects{1}}, Objects{Objects{2}}, false);
  expectEqual(Objects{}, Object::set({}), false);
  expectEqual(Dictionary{{"a", 1}, {"b", 2}}, Dictionary{{"b", 2}, {"a", true}}, true);
  expectEqual(Dictionary{{"a", 1}}, Dictionary{{"a", 2}}, false);
  expectEqual(Dictionary{{"a", 1}}, Dictionary{{"b", 1}}, false);
  expectEqual(Dictionary{{"a", 1}}, Dictionary{{"a", 1}, {"b", 1}}, false);
}

TEST(Object, SetsAreEqualInAnyOrder) {
  expectEqual(Object::set({1, "a"}), Object::set({"a", 1}), true);
  expectEqual(Object::set({1, "a"}), Object::set({"a", 2}), false);
  Objects forwards;
  Objects backwards;
  for (int element = 0; element < 100; ++element) {
    forwards.emplace_back(element);
    backwards.emplace_back(99 - element);
  }
  expectEqual(Object::set(forwards), Object::set(backwards), true);
  backwards[3] = 1000;
  expectEqual(Object::set(forwards), Object::set(backwards), false);
}

TEST(Object, ErrorsAreEqualByDomainCodeAndInformation) {
  const Error error{"d", 1, Dictionary{{"a", 1}}};
  expectEqual(error, Error{"d", 1, Dictionary{{"a", 1}}}, true);
  expectEqual(error, Error{"e", 1, Dictionary{{"a", 1}}}, false);
  expectEqual(error, Error{"d", 2, Dictionary{{"a", 1}}}, false);
  expectEqual(error, Error{"d", 1, Dictionary{{"a", 2}}}, false);
  expectEqual(error, Error{"d", 1, {}}, false);
  expectEqual(Error{"d", 1, {}}, Error{"d", 1, {}}, true);
}

TEST(Object, MenuItemsAreEqualByIdentity) {
  const auto item = std::make_shared<const MenuItem>("a");
  expectEqual(Object(item), Object(item), true);
  expectEqual(Object(item), Object(std::make_shared<const MenuItem>("a")), false);
}

TEST(Object, UnknownObjectsAreEqualByContent) {
  const auto thing = [](const char* name, const Object& value) {
    return OpaqueObject{{name, "NSObject"}, {{"key", value}}};
  };
  expectEqual(thing("A", 1), thing("A", 1), true);
  expectEqual(thing("A", 1), thing("B", 1), false);
  expectEqual(thing("A", 1), thing("A", 2), false);
}

TEST(Object, UrlsAreEqualAsUrlsAre) {
  EventLog events;
  const auto files = std::make_shared<FakeFileSystem>(events);
  files->addFile("/here");
  const ScopedFileSystem scope(files);
  const Object missing = url("file:///missing");
  EXPECT_TRUE(missing.isEqual(missing));
  EXPECT_FALSE(missing.isEqual(url("file:///missing")));
  EXPECT_TRUE(Object(url("file:///here")).isEqual(url("file:///here/")));
  EXPECT_FALSE(Object(url("file:///here")).isEqual("file:///here"));
  // An array search uses equality alone; a set finds only a member of the same text.
  EXPECT_TRUE(Object(Objects{url("file:///here")}).isEqual(Objects{url("file:///here/")}));
  EXPECT_FALSE(Object::set({url("file:///here")}).isEqual(Object::set({url("file:///here/")})));
  EXPECT_TRUE(Object::set({url("file:///here")}).isEqual(Object::set({url("file:///here")})));
}

TEST(Object, AnOpenedArchiveEqualsWhatItWasMadeOf) {
  const Object object = Dictionary{{"a", Objects{1, "b"}}, {Bytes{1}, Dictionary{{"c", 1.5}}}};
  const auto archive =
      std::make_shared<const Bytes>(KeyedArchiver::archivedData(object).value_or(Bytes()));
  expectEqual(object, KeyedUnarchiver::open(archive), true);
  expectEqual(KeyedUnarchiver::open(archive), KeyedUnarchiver::open(archive), true);
  expectEqual(object["a"], KeyedUnarchiver::open(archive)["a"], true);
}

// -- Description ----------------------------------------------------------------------------------

TEST(Object, ItsDescriptionIsOneLine) {
  const Object object = Dictionary{{"n", -5},
                                   {"big", UINT64_MAX},
                                   {"t", "a\nb"},
                                   {"d", Bytes{1, 255}},
                                   {"s", Object::set({true})}};
  EXPECT_EQ(object.description(),
            "{\"n\": -5, \"big\": 18446744073709551615, \"t\": \"a b\", \"d\": 0x01ff, "
            "\"s\": {YES}}");
}

TEST(Object, ItsDescriptionEndsWhereItGetsLong) {
  const Object objects[] = {std::string(100000, 'x'), Bytes(100000, 7),
                            Objects(100000, Object("ü"))};
  for (const Object& object : objects) {
    EXPECT_LE(object.description().size(), 310U);
    EXPECT_TRUE(object.description().ends_with("..."));
  }
}

}  // namespace
}  // namespace kelpie
