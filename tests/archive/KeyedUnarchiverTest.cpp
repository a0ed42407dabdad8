// The forms in which values stand in the archives of others, and how they read.

#include "archive/KeyedUnarchiver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "archive/ClassTable.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/KeyedCoder.h"
#include "foundation/MenuItem.h"
#include "foundation/ObjectView.h"
#include "foundation/OpaqueObject.h"
#include "support/ArchiveJson.h"
#include "support/RawPropertyList.h"

namespace kelpie {
namespace {

using nlohmann::json;

// The object read as a whole; that the same is read in place is checked on the way.
Object read(const Bytes& archive) {
  Object whole = KeyedUnarchiver::unarchiveObject(archive);
  const Object opened = KeyedUnarchiver::open(std::make_shared<const Bytes>(archive));
  EXPECT_EQ(archiveJson(whole), archiveJson(opened));
  EXPECT_EQ(whole.isMutable(), opened.isMutable());
  return whole;
}

// A value of a keyed archive, however it stands there.
struct Form {
  const char* why;
  std::function<std::uint32_t(RawArchive&)> add;  // answers its number in the archive
  json expected;
};

void PrintTo(const Form& form, std::ostream* stream) { *stream << form.why; }

const Form kForms[] = {
    {"a string", [](RawArchive& a) { return a.add(a.list.ascii("abc")); }, "abc"},
    {"a string of more than 14 characters",
     [](RawArchive& a) { return a.add(a.list.ascii("abcdefghijklmnopqrst")); },
     "abcdefghijklmnopqrst"},
    {"an empty string", [](RawArchive& a) { return a.add(a.list.ascii("")); }, ""},
    {"a string in UTF-16", [](RawArchive& a) { return a.add(a.list.utf16(u"mü☃😀")); }, "mü☃😀"},
    {"half a surrogate pair, upper and lower",
     [](RawArchive& a) {
       return a.add(a.list.utf16({u'a', 0xD800, u'b', 0xDC00}));
     },
     "a\uFFFDb\uFFFD"},
    {"an ASCII string that holds another byte",
     [](RawArchive& a) { return a.add(a.list.ascii("a\xFF")); }, "a\uFFFD"},
    {"a boxed string",
     [](RawArchive& a) {
       return a.addObject({"NSString", "NSObject"}, {{"NS.string", a.list.ascii("abc")}});
     },
     "abc"},
    {"a mutable string",
     [](RawArchive& a) {
       return a.addObject({"NSMutableString", "NSString", "NSObject"},
                          {{"NS.string", a.list.ascii("abc")}});
     },
     {{"$mstring", "abc"}}},
    {"a mutable string whose text is an object",
     [](RawArchive& a) {
       const std::uint32_t text = a.addString("abc");
       return a.addObject({"NSMutableString", "NSString", "NSObject"},
                          {{"NS.string", a.reference(text)}});
     },
     {{"$mstring", "abc"}}},
    {"a mutable string as UTF-8 bytes",
     [](RawArchive& a) {
       return a.addObject({"NSMutableString", "NSString", "NSObject"},
                          {{"NS.bytes", a.list.data({'m', 0xC3, 0xBC})}});
     },
     {{"$mstring", "mü"}}},
    {"bytes of a string that are not UTF-8",
     [](RawArchive& a) {
       return a.addObject({"NSString", "NSObject"}, {{"NS.bytes", a.list.data({'m', 0xFF})}});
     },
     "m\uFFFD"},
    {"a string without a text",
     [](RawArchive& a) {
       return a.addObject({"NSMutableString", "NSString", "NSObject"}, {});
     },
     nullptr},
    {"data",
     [](RawArchive& a) {
       return a.add(a.list.data({1, 2, 255}));
     },
     {{"$data", "0102ff"}}},
    {"mutable data",
     [](RawArchive& a) {
       return a.addObject({"NSMutableData", "NSData", "NSObject"},
                          {{"NS.data", a.list.data({1, 2})}});
     },
     {{"$mdata", "0102"}}},
    {"mutable data whose bytes are an object",
     [](RawArchive& a) {
       const std::uint32_t bytes = a.add(a.list.data({1, 2}));
       return a.addObject({"NSMutableData", "NSData", "NSObject"},
                          {{"NS.data", a.reference(bytes)}});
     },
     {{"$mdata", "0102"}}},
    {"an integer of 1 byte is unsigned",
     [](RawArchive& a) { return a.add(a.list.integer(200, 1)); }, 200},
    {"an integer of 2 bytes is unsigned",
     [](RawArchive& a) { return a.add(a.list.integer(60000, 2)); }, 60000},
    {"an integer of 4 bytes is unsigned",
     [](RawArchive& a) { return a.add(a.list.integer(4000000000, 4)); }, 4000000000},
    {"an integer of 8 bytes is signed",
     [](RawArchive& a) { return a.add(a.list.integer(static_cast<std::uint64_t>(-2), 8)); }, -2},
    {"an integer of 16 bytes reaches beyond the signed ones",
     [](RawArchive& a) { return a.add(a.list.integer(UINT64_MAX, 16)); }, UINT64_MAX},
    {"an integer of 16 bytes may be negative",
     [](RawArchive& a) {
       return a.add(a.list.integer(static_cast<std::uint64_t>(-3), 16, UINT64_MAX));
     },
     -3},
    {"2^64-1 may come as -1", [](RawArchive& a) { return a.add(a.list.integer(UINT64_MAX, 8)); },
     -1},
    {"YES", [](RawArchive& a) { return a.add(a.list.boolean(true)); }, true},
    {"NO", [](RawArchive& a) { return a.add(a.list.boolean(false)); }, false},
    {"a real", [](RawArchive& a) { return a.add(a.list.real(1.5)); }, {{"$real", 1.5}}},
    {"a real of 4 bytes",
     [](RawArchive& a) { return a.add(a.list.shortReal(-0.25F)); },
     {{"$real", -0.25}}},
    {"a boxed integer",
     [](RawArchive& a) {
       return a.addObject({"NSNumber", "NSValue", "NSObject"},
                          {{"NS.intval", a.list.integer(7, 1)}});
     },
     7},
    {"a boxed boolean",
     [](RawArchive& a) {
       return a.addObject({"NSNumber", "NSValue", "NSObject"},
                          {{"NS.boolval", a.list.boolean(true)}});
     },
     true},
    {"a boxed real",
     [](RawArchive& a) {
       return a.addObject({"NSNumber", "NSValue", "NSObject"}, {{"NS.dblval", a.list.real(2.5)}});
     },
     {{"$real", 2.5}}},
    {"a date", [](RawArchive& a) { return a.add(a.list.date(86400.5)); }, {{"$date", 86400.5}}},
    {"a boxed date",
     [](RawArchive& a) {
       return a.addObject({"NSDate", "NSObject"}, {{"NS.time", a.list.real(86400.5)}});
     },
     {{"$date", 86400.5}}},
    {"a URL",
     [](RawArchive& a) { return a.addUrl(0, "file:///a%20b"); },
     {{"$url", "file:///a%20b"}, {"base", nullptr}}},
    {"a URL with a base",
     [](RawArchive& a) { return a.addUrl(a.addUrl(0, "file:///r/"), ".git/"); },
     {{"$url", ".git/"}, {"base", {{"$url", "file:///r/"}, {"base", nullptr}}}}},
    {"a URL whose base is left out",
     [](RawArchive& a) {
       const std::uint32_t text = a.addString("file:///a");
       return a.addObject({"NSURL", "NSObject"}, {{"NS.relative", a.reference(text)}});
     },
     {{"$url", "file:///a"}, {"base", nullptr}}},
    {"what is no valid URL", [](RawArchive& a) { return a.addUrl(0, "http://[broken"); }, nullptr},
    {"a URL whose base is no valid one",
     [](RawArchive& a) { return a.addUrl(a.addUrl(0, "http://[broken"), "a"); }, nullptr},
    {"an array",
     [](RawArchive& a) {
       return a.addArray({a.addString("x"), a.addString("y")});
     },
     {{"$array", {"x", "y"}}}},
    {"a mutable array",
     [](RawArchive& a) {
       return a.addObject({"NSMutableArray", "NSArray", "NSObject"},
                          {{"NS.objects", a.references({})}});
     },
     {{"$marray", json::array()}}},
    {"an array with an empty place keeps the others in theirs",
     [](RawArchive& a) {
       return a.addArray({0, a.addString("y")});
     },
     {{"$array", {nullptr, "y"}}}},
    {"an array whose elements stand inline",
     [](RawArchive& a) {
       const auto one = a.list.integer(1, 1);
       return a.addObject({"NSArray", "NSObject"},
                          {{"NS.objects", a.list.array({one, a.list.ascii("two")})}});
     },
     {{"$array", {1, "two"}}}},
    {"a set",
     [](RawArchive& a) {
       const std::uint32_t x = a.addString("x");
       return a.addObject({"NSSet", "NSObject"}, {{"NS.objects", a.references({x, 0})}});
     },
     {{"$set", {"x"}}}},
    {"a mutable set",
     [](RawArchive& a) {
       return a.addObject({"NSMutableSet", "NSSet", "NSObject"},
                          {{"NS.objects", a.references({})}});
     },
     {{"$mset", json::array()}}},
    {"a dictionary with keys of several kinds",
     [](RawArchive& a) {
       const std::uint32_t text = a.addString("text");
       const std::uint32_t data = a.add(a.list.data({1}));
       const std::uint32_t number = a.add(a.list.integer(5, 1));
       return a.addDictionary({text, data, number}, {number, text, data});
     },
     {{"$dict", {{5, {{"$data", "01"}}}, {{{"$data", "01"}}, "text"}, {"text", 5}}}}},
    {"the class first, the values before the keys",
     [](RawArchive& a) {
       const std::uint32_t key = a.addString("key");
       const std::uint32_t value = a.addString("value");
       const auto of = a.reference(a.classNamed({"NSDictionary", "NSObject"}));
       const auto values = a.references({value});
       return a.add(a.list.dictionary(
           {{"$class", of}, {"NS.objects", values}, {"NS.keys", a.references({key})}}));
     },
     {{"$dict", json::array({json::array({"key", "value"})})}}},
    {"an entry without a value is left out",
     [](RawArchive& a) {
       return a.addDictionary({a.addString("a"), a.addString("b")}, {0, 2});
     },
     {{"$dict", json::array({json::array({"b", "b"})})}}},
    {"more keys than values",
     [](RawArchive& a) {
       return a.addDictionary({a.addString("a"), a.addString("b")}, {1});
     },
     nullptr},
    {"\"$null\" by another number than 0", [](RawArchive& a) { return a.addString("$null"); },
     nullptr},
    {"an error",
     [](RawArchive& a) {
       const auto domain = a.reference(a.addString("KPGitErrorDomain"));
       const auto code = a.list.integer(static_cast<std::uint64_t>(-1), 8);
       return a.addObject({"NSError", "NSObject"}, {{"NSDomain", domain}, {"NSCode", code}});
     },
     {{"$error", {{"domain", "KPGitErrorDomain"}, {"code", -1}, {"userInfo", nullptr}}}}},
    {"an unknown class is its first known ancestor",
     [](RawArchive& a) {
       return a.addObject({"XYSpecialArray", "NSMutableArray", "NSArray", "NSObject"},
                          {{"NS.objects", a.references({a.addString("x")})}});
     },
     {{"$marray", {"x"}}}},
    {"an object of an unknown class",
     [](RawArchive& a) {
       const auto text = a.reference(a.addString("x"));
       return a.addObject({"XYThing", "NSObject"},
                          {{"text", text}, {"count", a.list.integer(3, 1)}});
     },
     {{"$object", "XYThing"}, {"values", {{"text", "x"}, {"count", 3}}}}},
    {"the null object is an object, not nil",
     [](RawArchive& a) {
       return a.addObject({"NSNull", "NSObject"}, {});
     },
     {{"$object", "NSNull"}, {"values", json::object()}}},
    {"a decimal number is kept whole",
     [](RawArchive& a) {
       return a.addObject({"NSDecimalNumber", "NSNumber", "NSValue", "NSObject"},
                          {{"NS.exponent", a.list.integer(1, 1)}});
     },
     {{"$object", "NSDecimalNumber"}, {"values", {{"NS.exponent", 1}}}}},
    {"an object without a class",
     [](RawArchive& a) {
       return a.add(a.list.dictionary({{"x", a.list.integer(1, 1)}}));
     },
     nullptr},
    {"an object whose class is no reference",
     [](RawArchive& a) {
       return a.add(a.list.dictionary({{"$class", a.list.ascii("NSArray")}}));
     },
     nullptr},
    {"an object whose class is a string",
     [](RawArchive& a) {
       const std::uint32_t name = a.addString("NSArray");
       return a.add(a.list.dictionary({{"$class", a.reference(name)}}));
     },
     nullptr},
    {"an array without elements",
     [](RawArchive& a) {
       return a.addObject({"NSArray", "NSObject"}, {});
     },
     nullptr},
    {"an array whose elements are a string",
     [](RawArchive& a) {
       return a.addObject({"NSArray", "NSObject"}, {{"NS.objects", a.list.ascii("x")}});
     },
     nullptr},
    {"a plain property-list array is no object",
     [](RawArchive& a) { return a.add(a.list.array({})); }, nullptr},
    {"a reference is no object", [](RawArchive& a) { return a.add(a.list.uid(1)); }, nullptr},
};

class KeyedUnarchiverForms : public testing::TestWithParam<Form> {};

TEST_P(KeyedUnarchiverForms, AsTheRoot) {
  RawArchive archive;
  const std::uint32_t uid = GetParam().add(archive);
  EXPECT_EQ(archiveJson(read(archive.finish(uid))), sortedArchiveJson(GetParam().expected));
}

TEST_P(KeyedUnarchiverForms, InADictionary) {
  RawArchive archive;
  const std::uint32_t uid = GetParam().add(archive);
  const std::uint32_t root = archive.addDictionary({archive.addString("key")}, {uid});
  const auto bytes = std::make_shared<const Bytes>(archive.finish(root));
  const json expected = sortedArchiveJson(GetParam().expected);
  const Object opened = KeyedUnarchiver::open(bytes);
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(*bytes)["key"]), expected);
  EXPECT_EQ(archiveJson(opened["key"]), expected);
  EXPECT_EQ(archiveJson(ObjectView(opened)["key"].toObject()), expected);
  EXPECT_EQ(ObjectView(opened)["key"].isNil(), expected.is_null());
}

INSTANTIATE_TEST_SUITE_P(All, KeyedUnarchiverForms, testing::ValuesIn(kForms),
                         [](const auto& test) { return "Form" + std::to_string(test.index); });

class KeyedUnarchiverWidths : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
};

TEST_P(KeyedUnarchiverWidths, References) {
  const auto [referenceSize, uidWidth] = GetParam();
  RawArchive archive(referenceSize, uidWidth);
  const std::uint32_t root = archive.addArray({archive.addString("x"), archive.addString("y")});
  EXPECT_EQ(archiveJson(read(archive.finish(root))), json({{"$array", {"x", "y"}}}));
}

INSTANTIATE_TEST_SUITE_P(OneToEightBytes, KeyedUnarchiverWidths,
                         testing::Combine(testing::Range<std::size_t>(1, 9),
                                          testing::Range<std::size_t>(1, 9)));

TEST(KeyedUnarchiver, NotANumberAndInfinityAreReals) {
  RawArchive archive;
  const std::uint32_t nan = archive.add(archive.list.real(std::nan("")));
  const std::uint32_t infinity = archive.add(archive.list.real(HUGE_VAL));
  const Object read =
      KeyedUnarchiver::unarchiveObject(archive.finish(archive.addArray({nan, infinity})));
  EXPECT_TRUE(std::isnan(read.at(0).doubleValue()));
  EXPECT_EQ(read.at(1).doubleValue(), HUGE_VAL);
}

TEST(KeyedUnarchiver, OfTwoEqualKeysTheLastCounts) {
  RawArchive archive;
  const std::uint32_t first = archive.addString("first");
  const std::uint32_t last = archive.addString("last");
  const std::uint32_t key = archive.addString("key");
  const std::uint32_t same = archive.add(archive.list.utf16(u"key"));
  const auto bytes = std::make_shared<const Bytes>(
      archive.finish(archive.addDictionary({key, same, key, same}, {first, last, first, last})));
  EXPECT_EQ(KeyedUnarchiver::unarchiveObject(*bytes)["key"].stringValue(), "last");
  EXPECT_EQ(KeyedUnarchiver::unarchiveObject(*bytes).size(), 1U);
  EXPECT_EQ(KeyedUnarchiver::open(bytes)["key"].stringValue(), "last");
  EXPECT_EQ(KeyedUnarchiver::open(bytes).dictionary().size(), 1U);
}

// -- Objects met twice ----------------------------------------------------------------------------

TEST(KeyedUnarchiver, AnArrayThatIsMetTwiceIsShared) {
  RawArchive archive;
  const std::uint32_t shared = archive.addArray({archive.addString("x")});
  const Bytes bytes = archive.finish(archive.addArray({shared, shared}));
  const Object read = KeyedUnarchiver::unarchiveObject(bytes);
  ASSERT_NE(read.at(0).sharedAddress(), nullptr);
  EXPECT_EQ(read.at(0).sharedAddress(), read.at(1).sharedAddress());
}

TEST(KeyedUnarchiver, TwoEqualMutableStringsStayTwo) {
  RawArchive archive;
  const auto text = archive.list.ascii("x");
  const auto add = [&] {
    return archive.addObject({"NSMutableString", "NSString", "NSObject"}, {{"NS.string", text}});
  };
  const std::uint32_t first = add();
  const std::uint32_t second = add();
  const Bytes bytes = archive.finish(archive.addArray({first, second, first}));
  const Object read = KeyedUnarchiver::unarchiveObject(bytes);
  EXPECT_NE(read.at(0).sharedAddress(), read.at(1).sharedAddress());
  EXPECT_EQ(read.at(0).sharedAddress(), read.at(2).sharedAddress());
}

TEST(KeyedUnarchiver, AMenuItemThatIsMetTwiceIsOneItem) {
  RawArchive archive;
  const auto title = archive.reference(archive.addString("Stage"));
  const std::uint32_t item = archive.addObject({"NSMenuItem", "NSObject"}, {{"NSTitle", title}});
  const auto bytes = std::make_shared<const Bytes>(archive.finish(archive.addArray({item, item})));

  const Object whole = KeyedUnarchiver::unarchiveObject(*bytes);
  ASSERT_NE(whole.at(0).as<MenuItem>(), nullptr);
  EXPECT_EQ(whole.at(0).as<MenuItem>()->title, "Stage");
  EXPECT_EQ(whole.at(0).archivable(), whole.at(1).archivable());

  const Object opened = KeyedUnarchiver::open(bytes);
  EXPECT_EQ(opened.at(0).archivable(), opened.at(1).archivable());
  EXPECT_EQ(opened.at(0).archivable(), opened.at(0).archivable());
}

TEST(KeyedUnarchiver, AUrlThatIsMetTwiceIsTheSameObject) {
  RawArchive archive;
  const std::uint32_t url = archive.addUrl(0, "file:///missing");
  const std::uint32_t other = archive.addUrl(0, "file:///missing");
  const auto bytes =
      std::make_shared<const Bytes>(archive.finish(archive.addArray({url, url, other})));
  for (const Object& read :
       {KeyedUnarchiver::unarchiveObject(*bytes), KeyedUnarchiver::open(bytes)}) {
    EXPECT_TRUE(read.at(0).url()->isSameObject(*read.at(1).url()));
    EXPECT_FALSE(read.at(0).url()->isSameObject(*read.at(2).url()));
  }
}

// -- In place -------------------------------------------------------------------------------------

TEST(KeyedUnarchiver, APartKeepsTheArchiveAlive) {
  auto bytes = std::make_shared<const Bytes>(archiveFixture("setStatusInfo.bplist"));
  const std::weak_ptr<const Bytes> watch = bytes;
  Object part = KeyedUnarchiver::open(std::move(bytes))["KPMessageArgument"]["KPRepositoryStatus"];
  EXPECT_FALSE(watch.expired());
  EXPECT_EQ(part.size(), 32U);
  part = {};
  EXPECT_TRUE(watch.expired());
}

TEST(KeyedUnarchiver, AStringOfAnArchiveDoesNotKeepItAlive) {
  auto bytes = std::make_shared<const Bytes>(archiveFixture("setStatusInfo.bplist"));
  const std::weak_ptr<const Bytes> watch = bytes;
  const Object selector = KeyedUnarchiver::open(std::move(bytes))["KPMessageSelector"];
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(selector.stringValue(), "setStatusInfo:");
}

TEST(KeyedUnarchiver, NothingToOpen) {
  EXPECT_TRUE(KeyedUnarchiver::open(nullptr).isNil());
  EXPECT_TRUE(KeyedUnarchiver::open(std::make_shared<const Bytes>()).isNil());
}

TEST(KeyedUnarchiver, OtherPropertyListsAreNoArchives) {
  RawPropertyList list;
  EXPECT_TRUE(read(list.finish(list.ascii("x"))).isNil());

  RawPropertyList other;
  const auto root = other.dictionary({{"root", other.uid(1)}});
  const auto objects = other.array({other.ascii("$null"), other.ascii("x")});
  EXPECT_TRUE(read(other.finish(other.dictionary({{"$archiver", other.ascii("SomeArchiver")},
                                                  {"$top", root},
                                                  {"$objects", objects}})))
                  .isNil());
}

// -- Classes of the class table -------------------------------------------------------------------

class Probe : public Archivable {
 public:
  std::int64_t inlineNumber = 0;
  std::int64_t referredNumber = 0;
  std::int64_t boxedNumber = 0;
  std::int64_t textAsNumber = 0;
  std::int64_t missingNumber = 1;
  bool flag = false;
  bool isNilNil = false;
  std::string text;
  Object nested;

  std::vector<std::string_view> classNames() const override { return {"Probe", "NSObject"}; }
  void encodeWithCoder(KeyedEncoder& /*coder*/) const override {}
  static std::shared_ptr<const Archivable> decode(const KeyedDecoder& coder) {
    auto probe = std::make_shared<Probe>();
    probe->inlineNumber = coder.decodeInteger("inline");
    probe->referredNumber = coder.decodeInteger("referred");
    probe->boxedNumber = coder.decodeInteger("boxed");
    probe->textAsNumber = coder.decodeInteger("text");
    probe->missingNumber = coder.decodeInteger("missing");
    probe->flag = coder.decodeBool("referred");
    probe->isNilNil = coder.decodeObject("nil").isNil();
    probe->text = coder.decodeObject("text").stringValue();
    coder.decodeNestedRoots("archives", [&](const Object& inner) { probe->nested = inner; });
    return probe;
  }
};

std::shared_ptr<const Archivable> decodeToNothing(const KeyedDecoder& /*coder*/) { return nullptr; }

class KeyedUnarchiverClasses : public testing::Test {
 protected:
  KeyedUnarchiverClasses() {
    ClassTable::shared().add("Probe", &Probe::decode);
    ClassTable::shared().add("Unmakeable", &decodeToNothing);
  }

  static std::vector<std::pair<std::string, RawPropertyList::Number>> fields(RawArchive& archive) {
    RawArchive inner;
    const Bytes nested = inner.finish(inner.addArray({inner.addString("inside")}));
    const std::uint32_t referred = archive.add(archive.list.integer(8, 1));
    const std::uint32_t boxed = archive.addObject({"NSNumber", "NSValue", "NSObject"},
                                                  {{"NS.intval", archive.list.integer(9, 1)}});
    const std::uint32_t text = archive.addString("abc");
    const std::uint32_t archives = archive.addArray({archive.add(archive.list.data(nested))});
    return {{"inline", archive.list.integer(7, 1)}, {"referred", archive.reference(referred)},
            {"boxed", archive.reference(boxed)},    {"text", archive.reference(text)},
            {"nil", archive.reference(0)},          {"archives", archive.reference(archives)}};
  }
};

TEST_F(KeyedUnarchiverClasses, NumbersStandInlineByReferenceOrBoxed) {
  RawArchive archive;
  const std::uint32_t root = archive.addObject({"Probe", "NSObject"}, fields(archive));
  const auto probe = KeyedUnarchiver::unarchiveObject(archive.finish(root)).as<Probe>();
  ASSERT_NE(probe, nullptr);
  EXPECT_EQ(probe->inlineNumber, 7);
  EXPECT_EQ(probe->referredNumber, 8);
  EXPECT_EQ(probe->boxedNumber, 9);
  EXPECT_EQ(probe->textAsNumber, 0);
  EXPECT_EQ(probe->missingNumber, 0);
  EXPECT_TRUE(probe->flag);
  EXPECT_EQ(probe->text, "abc");
}

TEST_F(KeyedUnarchiverClasses, NilIsAPresentKey) {
  RawArchive archive;
  const std::uint32_t root = archive.addObject({"Probe", "NSObject"}, fields(archive));
  const auto probe = KeyedUnarchiver::unarchiveObject(archive.finish(root)).as<Probe>();
  ASSERT_NE(probe, nullptr);
  EXPECT_TRUE(probe->isNilNil);
}

TEST_F(KeyedUnarchiverClasses, AnArchiveInsideIsRead) {
  RawArchive archive;
  const std::uint32_t root = archive.addObject({"Probe", "NSObject"}, fields(archive));
  const auto bytes = std::make_shared<const Bytes>(archive.finish(root));
  for (const Object& read :
       {KeyedUnarchiver::unarchiveObject(*bytes), KeyedUnarchiver::open(bytes)}) {
    const auto probe = read.as<Probe>();
    ASSERT_NE(probe, nullptr);
    EXPECT_EQ(archiveJson(probe->nested), json({{"$array", {"inside"}}}));
  }
}

TEST_F(KeyedUnarchiverClasses, AnUnknownClassIsItsFirstKnownAncestor) {
  RawArchive archive;
  const std::uint32_t root =
      archive.addObject({"SpecialProbe", "Probe", "NSObject"}, fields(archive));
  EXPECT_NE(KeyedUnarchiver::unarchiveObject(archive.finish(root)).as<Probe>(), nullptr);
}

TEST_F(KeyedUnarchiverClasses, WhatItsClassCannotMakeIsNil) {
  RawArchive archive;
  const std::uint32_t root = archive.addObject({"Unmakeable", "NSObject"}, {});
  EXPECT_TRUE(read(archive.finish(root)).isNil());
}

}  // namespace
}  // namespace kelpie
