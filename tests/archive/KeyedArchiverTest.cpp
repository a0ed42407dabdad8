// What stands in the archives that we write. That others read them is shown in tests/gnustep.

#include "archive/KeyedArchiver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/BinaryPropertyList.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/OpaqueObject.h"
#include "support/ArchiveJson.h"
#include "support/RawPropertyList.h"

namespace kelpie {
namespace {

using nlohmann::json;
using Item = BinaryPropertyList::Item;
using Type = BinaryPropertyList::Type;

// An archive as the property list that it is.
class Written {
 public:
  explicit Written(const Object& root)
      : bytes_(KeyedArchiver::archivedData(root).value_or(Bytes())),
        list_(BinaryPropertyList::open(bytes_).value_or(BinaryPropertyList())) {}

  const BinaryPropertyList& list() const { return list_; }
  Item top() const { return list_.item(list_.topNumber()); }
  Item objects() const { return list_.value(top(), "$objects"); }
  std::size_t objectCount() const { return objects().count; }
  Item object(std::uint64_t uid) const {
    return list_.item(list_.number(objects(), static_cast<std::size_t>(uid)));
  }
  Item root() const { return object(list_.uid(list_.value(list_.value(top(), "$top"), "root"))); }
  Item field(const Item& object, std::string_view key) const { return list_.value(object, key); }
  // The object that a key refers to.
  Item referred(const Item& from, std::string_view key) const {
    const Item reference = field(from, key);
    EXPECT_EQ(reference.type, Type::Uid) << key;
    return object(list_.uid(reference));
  }
  std::string text(const Item& item) const { return list_.string(item); }
  std::vector<std::string> keys(const Item& object) const {
    std::vector<std::string> names;
    for (std::size_t index = 0; index < object.count; ++index)
      names.push_back(text(list_.keyAt(object, index)));
    std::sort(names.begin(), names.end());
    return names;
  }
  std::vector<std::string> classNames(const Item& object) const {
    const Item of = referred(object, "$class");
    const Item all = field(of, "$classes");
    std::vector<std::string> names;
    for (std::size_t index = 0; index < all.count; ++index)
      names.push_back(text(list_.item(list_.number(all, index))));
    EXPECT_EQ(text(field(of, "$classname")), names.empty() ? "" : names.front());
    return names;
  }

 private:
  Bytes bytes_;
  BinaryPropertyList list_;
};

using Names = std::vector<std::string>;

TEST(KeyedArchiver, TheArchiveSaysWhatItIs) {
  const Written archive("x");
  EXPECT_EQ(archive.list().integer(archive.field(archive.top(), "$version")), 100000U);
  EXPECT_EQ(archive.text(archive.field(archive.top(), "$archiver")), "NSKeyedArchiver");
  EXPECT_EQ(archive.text(archive.object(0)), "$null");
  EXPECT_EQ(archive.text(archive.root()), "x");
}

TEST(KeyedArchiver, NilIsNumberZero) {
  const auto bytes = KeyedArchiver::archivedData({});
  ASSERT_TRUE(bytes);
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(*bytes).isNil());
}

TEST(KeyedArchiver, ClassesStandWithTheirAncestors) {
  struct Case {
    Object object;
    Names names;
  };
  const Case cases[] = {
      {Objects{}, {"NSArray", "NSObject"}},
      {Object(Objects{}).mutableCopy(), {"NSMutableArray", "NSArray", "NSObject"}},
      {Object::set({}), {"NSSet", "NSObject"}},
      {Object::set({}).mutableCopy(), {"NSMutableSet", "NSSet", "NSObject"}},
      {Dictionary{}, {"NSDictionary", "NSObject"}},
      {Object(Dictionary{}).mutableCopy(), {"NSMutableDictionary", "NSDictionary", "NSObject"}},
      {Object("x").mutableCopy(), {"NSMutableString", "NSString", "NSObject"}},
      {Object(Bytes{1}).mutableCopy(), {"NSMutableData", "NSData", "NSObject"}},
      {*URL::fromString("http://a/"), {"NSURL", "NSObject"}},
      {Object::date(5), {"NSDate", "NSObject"}},
      {Error{"d", 1, {}}, {"NSError", "NSObject"}},
      {Object(std::make_shared<const MenuItem>("x")), {"NSMenuItem", "NSObject"}},
      {OpaqueObject{{"XYThing", "XYBase", "NSObject"}, {}}, {"XYThing", "XYBase", "NSObject"}},
  };
  for (const Case& expected : cases) {
    const Written archive(expected.object);
    EXPECT_EQ(archive.classNames(archive.root()), expected.names) << expected.object.description();
  }
}

TEST(KeyedArchiver, PlainValuesStandAsThemselves) {
  struct Case {
    Object object;
    Type type;
  };
  const Case cases[] = {{"text", Type::Ascii},      {"mü", Type::Utf16},   {Bytes{1}, Type::Data},
                        {5, Type::Integer},         {true, Type::Boolean}, {1.5, Type::Real},
                        {UINT64_MAX, Type::Integer}};
  for (const Case& expected : cases) {
    const Written archive(expected.object);
    EXPECT_EQ(archive.root().type, expected.type) << expected.object.description();
  }
}

TEST(KeyedArchiver, ValuesComeBack) {
  const Object values[] = {
      "",
      "text",
      "mü☃😀",
      "$null",
      "$class",
      Object("$null").mutableCopy(),
      std::string(100000, 'x'),
      std::string("a\0b", 3),
      Bytes{},
      Bytes{0, 255},
      Bytes(100000, 7),
      0,
      1,
      -1,
      255,
      256,
      65535,
      65536,
      -65536,
      INT64_MAX,
      INT64_MIN,
      UINT64_MAX,
      std::uint64_t{1} << 63U,
      true,
      false,
      0.0,
      -0.5,
      1e300,
      Object::date(-1.5),
      *URL::fromString("file:///a%20b"),
      *URL::fromString(".git/", URL::fileURLWithPath("/r", true)),
      URL::fileURLWithPath("/not \xFF utf8"),
      Objects{},
      Objects{Object(), 1},
      Object::set({1, "a"}),
      Dictionary{{"a", 1}, {Bytes{1}, "b"}, {5, true}, {Objects{1}, Dictionary{{"c", 2}}}},
      Error{"KPGitErrorDomain", -1, Dictionary{{kLocalizedDescriptionKey, "x"}}},
      Error{"d", 0, {}}};
  for (const Object& value : values) {
    const auto bytes = KeyedArchiver::archivedData(value);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(*bytes)), archiveJson(value));
    EXPECT_EQ(archiveJson(KeyedUnarchiver::open(std::make_shared<const Bytes>(*bytes))),
              archiveJson(value));
  }
}

TEST(KeyedArchiver, ATextThatIsNotUtf8ShowsItsBadBytes) {
  const auto bytes = KeyedArchiver::archivedData("a\xFF");
  ASSERT_TRUE(bytes);
  EXPECT_EQ(KeyedUnarchiver::unarchiveObject(*bytes).stringValue(), "a\uFFFD");
}

TEST(KeyedArchiver, APathThatIsNotUtf8IsData) {
  const Written archive(Object::path("/a\xFF"));
  EXPECT_EQ(archive.root().type, Type::Data);
  const auto bytes = KeyedArchiver::archivedData(Object::path("/a\xFF"));
  ASSERT_TRUE(bytes);
  EXPECT_EQ(KeyedUnarchiver::unarchiveObject(*bytes).pathBytes(), "/a\xFF");
}

// -- What is met twice ----------------------------------------------------------------------------

TEST(KeyedArchiver, PlainValuesAreWrittenOnce) {
  // "$null", the array, its class, and one each of the values.
  const Written archive(Objects{"a", 1, Bytes{1}, 1.5, true, "a", 1, Bytes{1}, 1.5, true});
  EXPECT_EQ(archive.objectCount(), 3U + 5U);
}

TEST(KeyedArchiver, NumbersOfDifferentKindsStayApart) {
  const Written archive(Objects{1, true, 1.0, "1"});
  EXPECT_EQ(archive.objectCount(), 3U + 4U);
  const auto bytes = KeyedArchiver::archivedData(Objects{1, true, 1.0, "1"});
  ASSERT_TRUE(bytes);
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(*bytes)),
            (json{{"$array", {1, true, {{"$real", 1.0}}, "1"}}}));
}

TEST(KeyedArchiver, ObjectsAreSharedByIdentity) {
  const Object shared = Objects{"a"};
  EXPECT_EQ(Written(Objects{shared, shared}).objectCount(), 3U + 2U);
  EXPECT_EQ(Written(Objects{shared, Objects{"a"}}).objectCount(), 3U + 3U);

  const Object text = Object("a").mutableCopy();
  EXPECT_EQ(Written(Objects{text, text}).objectCount(), 3U + 2U);
  EXPECT_EQ(Written(Objects{text, Object("a").mutableCopy()}).objectCount(), 3U + 3U);

  const Object data = Bytes(1000, 1);
  EXPECT_EQ(Written(Objects{data, data}).objectCount(), 3U + 1U);
}

TEST(KeyedArchiver, UrlsOfOneTextStayTwoObjects) {
  const URL url = *URL::fromString("file:///missing");
  const URL other = *URL::fromString("file:///missing");
  const auto bytes = KeyedArchiver::archivedData(Objects{url, url, other});
  ASSERT_TRUE(bytes);
  const Object read = KeyedUnarchiver::unarchiveObject(*bytes);
  EXPECT_TRUE(read.at(0).url()->isSameObject(*read.at(1).url()));
  EXPECT_FALSE(read.at(0).url()->isSameObject(*read.at(2).url()));
}

TEST(KeyedArchiver, APartOfAnOpenedArchiveIsWrittenOnce) {
  Objects outer;
  outer.emplace_back(Objects{"a"});
  const auto bytes = KeyedArchiver::archivedData(outer);
  ASSERT_TRUE(bytes);
  const Object part = KeyedUnarchiver::open(std::make_shared<const Bytes>(*bytes)).at(0);
  EXPECT_EQ(Written(Objects{part, part}).objectCount(), 3U + 2U);
}

TEST(KeyedArchiver, ReferencesAreAsNarrowAsTheyCanBe) {
  // GNUstep reads references of one and two bytes only.
  Objects numbers;
  for (int number = 0; number < 300; ++number) numbers.emplace_back(number);
  const Written archive(std::move(numbers));
  const Item elements = archive.field(archive.root(), "NS.objects");
  ASSERT_EQ(elements.count, 300U);
  EXPECT_EQ(archive.list().item(archive.list().number(elements, 0)).count, 1U);
  EXPECT_EQ(archive.list().item(archive.list().number(elements, 299)).count, 2U);
}

// -- Errors, menu items, unknown objects ----------------------------------------------------------

TEST(KeyedArchiver, AnErrorStandsUnderTheKeysOfItsClass) {
  const Written archive(Error{
      std::string(kGitErrorDomain), -1,
      Dictionary{{kLocalizedDescriptionKey, "d"}, {kLocalizedRecoverySuggestionErrorKey, "r"}}});
  const Item error = archive.root();
  EXPECT_EQ(archive.keys(error), (Names{"$class", "NSCode", "NSDomain", "NSUserInfo"}));
  EXPECT_EQ(archive.field(error, "NSCode").type, Type::Integer);
  EXPECT_TRUE(archive.list().isNegative(archive.field(error, "NSCode")));
  EXPECT_EQ(archive.text(archive.referred(error, "NSDomain")), "KPGitErrorDomain");
  const Item keys = archive.field(archive.referred(error, "NSUserInfo"), "NS.keys");
  const auto key = [&](std::size_t index) {
    return archive.text(archive.object(
        archive.list().uid(archive.list().item(archive.list().number(keys, index)))));
  };
  EXPECT_EQ(key(0), "NSLocalizedDescription");
  EXPECT_EQ(key(1), "NSLocalizedRecoverySuggestion");
}

MenuItem stageItem() {
  MenuItem item("Stage 2 Files", "stage:");
  item.tag = -1;
  item.enabled = false;
  item.state = 1;
  item.image = Image{"BranchImage"};
  item.representedObject = Objects{URL::fileURLWithPath("/a b"), URL::fileURLWithPath("/c")};
  auto submenu = std::make_shared<Menu>("More");
  submenu->items.emplace_back("One", "one:");
  submenu->items.emplace_back("Two");
  item.submenu = submenu;
  return item;
}

TEST(KeyedArchiver, AMenuItemStandsUnderTheKeysOfAppKit) {
  const Written archive(Object(std::make_shared<const MenuItem>(stageItem())));
  const Item item = archive.root();
  const BinaryPropertyList& list = archive.list();
  EXPECT_EQ(archive.keys(item),
            (Names{"$class", "NSAction", "NSIsDisabled", "NSKeyEquiv", "NSKeyEquivModMask",
                   "NSMnemonicLoc", "NSRepObject", "NSState", "NSSubmenu", "NSTag", "NSTitle"}));
  EXPECT_EQ(archive.text(archive.referred(item, "NSTitle")), "Stage 2 Files");
  EXPECT_EQ(archive.text(archive.referred(item, "NSAction")), "stage:");
  EXPECT_EQ(archive.text(archive.referred(item, "NSKeyEquiv")), "");
  EXPECT_EQ(static_cast<std::int64_t>(list.integer(archive.field(item, "NSTag"))), -1);
  EXPECT_EQ(list.integer(archive.field(item, "NSState")), 1U);
  EXPECT_EQ(list.integer(archive.field(item, "NSKeyEquivModMask")), 0x100000U);
  EXPECT_EQ(list.integer(archive.field(item, "NSMnemonicLoc")), 0x7FFFFFFFU);
  EXPECT_TRUE(list.boolean(archive.field(item, "NSIsDisabled")));
  EXPECT_EQ(archive.classNames(archive.referred(item, "NSRepObject")),
            (Names{"NSArray", "NSObject"}));
  EXPECT_EQ(archive.classNames(archive.referred(item, "NSSubmenu")), (Names{"NSMenu", "NSObject"}));
}

TEST(KeyedArchiver, AMenuItemWithTagZeroHasNoTag) {
  const Written archive(Object(std::make_shared<const MenuItem>("x")));
  EXPECT_EQ(archive.field(archive.root(), "NSTag").type, Type::None);
  EXPECT_EQ(archive.list().uid(archive.field(archive.root(), "NSAction")), 0U);
}

TEST(KeyedArchiver, AMenuItemComesBackWholeButForItsImage) {
  const auto bytes =
      KeyedArchiver::archivedData(Object(std::make_shared<const MenuItem>(stageItem())));
  ASSERT_TRUE(bytes);
  const auto item = KeyedUnarchiver::unarchiveObject(*bytes).as<MenuItem>();
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->title, "Stage 2 Files");
  EXPECT_EQ(item->action, "stage:");
  EXPECT_EQ(item->tag, -1);
  EXPECT_EQ(item->state, 1);
  EXPECT_FALSE(item->enabled);
  EXPECT_FALSE(item->image);
  EXPECT_EQ(item->representedObject.at(0).url()->path(), "/a b");
  ASSERT_NE(item->submenu, nullptr);
  EXPECT_EQ(item->submenu->title, "More");
  ASSERT_EQ(item->submenu->items.size(), 2U);
  EXPECT_EQ(item->submenu->items[0].action, "one:");
  EXPECT_EQ(item->submenu->items[1].title, "Two");
  EXPECT_FALSE(item->submenu->items[1].action);
  EXPECT_TRUE(item->submenu->items[1].enabled);
}

TEST(KeyedArchiver, AnUnknownObjectIsWrittenAsItCame) {
  RawArchive raw;
  const auto text = raw.reference(raw.addString("x"));
  const auto many = raw.references({raw.addString("y"), 0});
  const auto inlineList = raw.list.array({raw.list.integer(1, 1), raw.list.ascii("z")});
  const auto inlineTable = raw.list.dictionary({{"k", raw.list.boolean(true)}});
  const std::uint32_t thing =
      raw.addObject({"XYThing", "XYBase", "NSObject"}, {{"one", text},
                                                        {"nil", raw.reference(0)},
                                                        {"many", many},
                                                        {"number", raw.list.integer(7, 1)},
                                                        {"bytes", raw.list.data({1, 2})},
                                                        {"list", inlineList},
                                                        {"table", inlineTable}});
  const Object object = KeyedUnarchiver::unarchiveObject(raw.finish(thing));
  ASSERT_NE(object.opaque(), nullptr);

  const Written archive(object);
  const Item root = archive.root();
  EXPECT_EQ(archive.classNames(root), (Names{"XYThing", "XYBase", "NSObject"}));
  EXPECT_EQ(archive.text(archive.referred(root, "one")), "x");
  EXPECT_EQ(archive.field(root, "nil").type, Type::Uid);
  EXPECT_EQ(archive.list().uid(archive.field(root, "nil")), 0U);
  EXPECT_EQ(archive.field(root, "many").type, Type::Array);
  EXPECT_EQ(archive.field(root, "many").count, 2U);
  EXPECT_EQ(archive.list().integer(archive.field(root, "number")), 7U);
  EXPECT_EQ(archive.field(root, "bytes").type, Type::Data);
  EXPECT_EQ(
      archive.text(archive.list().item(archive.list().number(archive.field(root, "list"), 1))),
      "z");
  EXPECT_TRUE(archive.list().boolean(archive.field(archive.field(root, "table"), "k")));

  const auto bytes = KeyedArchiver::archivedData(object);
  ASSERT_TRUE(bytes);
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(*bytes).isEqual(object));
}

// Where references take one byte, what stands behind a list of keys or values may look like one
// more of them.
TEST(KeyedArchiver, DictionariesEndWhereTheyEnd) {
  for (int count = 1; count < 60; ++count) {
    Objects dictionaries;
    for (int i = 0; i < count; ++i) {
      Dictionary entries;
      for (int j = 0; j <= i % 8; ++j)
        entries.set(Object("key" + std::to_string(j)), Object(std::to_string(i * 10 + j)));
      dictionaries.emplace_back(std::move(entries));
    }
    const auto archive = KeyedArchiver::archivedData(Object(dictionaries));
    ASSERT_TRUE(archive);
    const Object read = KeyedUnarchiver::unarchiveObject(*archive);
    for (int i = 0; i < count; ++i) {
      const Object entries = read.at(static_cast<std::size_t>(i));
      EXPECT_EQ(entries.size(), static_cast<std::size_t>(i % 8 + 1)) << count << ", " << i;
    }
    EXPECT_TRUE(read.isEqual(Object(dictionaries))) << count;
  }
}

}  // namespace
}  // namespace kelpie
