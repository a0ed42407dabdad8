// Archives that nobody's archiver writes. Whatever they hold, reading ends soon, takes memory in
// proportion to the bytes, and gives nil or leaves the part out. What takes longer than a test may
// run, or more memory than is said, is a failure.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "archive/HostileReading.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/AllocationMeter.h"
#include "foundation/Dictionary.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/ObjectView.h"
#include "refs/KPReference.h"
#include "refs/KPTreeNode.h"
#include "refs/ReferenceClasses.h"
#include "support/ArchiveJson.h"
#include "support/RawPropertyList.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

using nlohmann::json;
using Number = RawPropertyList::Number;

// -- Cut off and changed --------------------------------------------------------------------------

class HostileArchiveFixtures : public testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() { registerReferenceClasses(); }
};

TEST_P(HostileArchiveFixtures, EveryPrefixIsNil) {
  const Bytes archive = archiveFixture(GetParam() + ".bplist");
  for (std::size_t length = 0; length < archive.size(); ++length) {
    const Bytes prefix(archive.begin(), archive.begin() + static_cast<std::ptrdiff_t>(length));
    ASSERT_TRUE(KeyedUnarchiver::unarchiveObject(prefix).isNil()) << length;
    ASSERT_TRUE(open(prefix).isNil()) << length;
  }
}

TEST_P(HostileArchiveFixtures, AnyChangedByteIsSurvived) {
  Bytes archive = archiveFixture(GetParam() + ".bplist");
  // Of the larger ones not every byte, but every kind of object.
  constexpr std::size_t kBytes = kHasAddressSanitizer ? 60 : 600;
  const std::size_t step = 1 + archive.size() / kBytes;
  for (std::size_t index = 0; index < archive.size(); index += step) {
    const std::uint8_t kept = archive[index];
    for (const int value : {0x00, 0xFF, kept ^ 0x01, kept ^ 0x10, kept ^ 0x80}) {
      archive[index] = static_cast<std::uint8_t>(value);
      use(archive);
    }
    archive[index] = kept;
  }
}

INSTANTIATE_TEST_SUITE_P(All, HostileArchiveFixtures, testing::ValuesIn(archiveFixtureNames()),
                         [](const auto& test) { return test.param; });

TEST(HostileArchive, NothingIsNoArchive) {
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject({}).isNil());
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytesOf("bplist00")).isNil());
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(Bytes(100, 0)).isNil());
}

// -- Counts and offsets that lie ------------------------------------------------------------------

struct Claim {
  const char* why;
  std::function<std::uint32_t(RawArchive&)> add;
};
void PrintTo(const Claim& claim, std::ostream* stream) { *stream << claim.why; }

constexpr std::uint64_t kHuge = std::uint64_t{1} << 60U;

const Claim kClaims[] = {
    {"data",
     [](RawArchive& a) {
       return a.add(a.list.claim(0x40, kHuge, {1, 2}));
     }},
    {"an ASCII string", [](RawArchive& a) { return a.add(a.list.claim(0x50, kHuge, {'a'})); }},
    {"a UTF-16 string",
     [](RawArchive& a) {
       return a.add(a.list.claim(0x60, kHuge, {0, 'a'}));
     }},
    {"a count that overflows", [](RawArchive& a) { return a.add(a.list.claim(0x60, UINT64_MAX)); }},
    {"an array",
     [](RawArchive& a) {
       const Number elements = a.list.claim(0xA0, kHuge, {0, 1});
       return a.addObject({"NSArray", "NSObject"}, {{"NS.objects", elements}});
     }},
    {"a dictionary",
     [](RawArchive& a) {
       const Number keys = a.list.claim(0xA0, kHuge, {0, 1});
       return a.addObject({"NSDictionary", "NSObject"}, {{"NS.objects", keys}, {"NS.keys", keys}});
     }},
    {"the keys of an object", [](RawArchive& a) { return a.add(a.list.claim(0xD0, kHuge)); }},
    {"a count whose half wraps around",
     [](RawArchive& a) { return a.add(a.list.claim(0xD0, std::uint64_t{1} << 63U)); }},
    {"a count without a count",
     [](RawArchive& a) {
       return a.add(a.list.raw({0x4F, 0x50}));
     }},
    {"a count of 16 bytes",
     [](RawArchive& a) {
       return a.add(a.list.raw(Bytes{0x4F, 0x14, 0, 0, 0, 0, 0, 0, 0, 0}));
     }},
    {"an integer of 2^15 bytes",
     [](RawArchive& a) {
       return a.add(a.list.raw({0x1F, 0}));
     }},
    {"a real of 2^15 bytes",
     [](RawArchive& a) {
       return a.add(a.list.raw({0x2F, 0}));
     }},
    {"a date of 4 bytes",
     [](RawArchive& a) {
       return a.add(a.list.raw({0x32, 0, 0, 0, 0}));
     }},
    {"an unknown marker", [](RawArchive& a) { return a.add(a.list.raw({0x70})); }},
    {"a fill byte", [](RawArchive& a) { return a.add(a.list.raw({0x0F})); }},
};

class HostileArchiveClaims : public testing::TestWithParam<Claim> {};

TEST_P(HostileArchiveClaims, AreNilAndAllocateNothing) {
  RawArchive archive;
  const std::uint32_t uid = GetParam().add(archive);
  const Bytes bytes = archive.finish(archive.addArray({uid, archive.addString("x")}));
  const AllocationMeter meter;
  const Object read = KeyedUnarchiver::unarchiveObject(bytes);
  EXPECT_LT(meter.peak(), 16384U);
  EXPECT_TRUE(read.at(0).isNil());
  EXPECT_EQ(read.at(1).stringValue(), "x");
  EXPECT_TRUE(open(bytes).at(0).isNil());
}

INSTANTIATE_TEST_SUITE_P(All, HostileArchiveClaims, testing::ValuesIn(kClaims),
                         [](const auto& test) { return "Claim" + std::to_string(test.index); });

TEST(HostileArchive, ATrailerThatLies) {
  RawArchive archive;
  const Bytes sound = archive.finish(archive.addArray({archive.addString("x")}));
  ASSERT_FALSE(KeyedUnarchiver::unarchiveObject(sound).isNil());
  for (const std::size_t field : {RawPropertyList::kObjectCount, RawPropertyList::kTopNumber,
                                  RawPropertyList::kTableOffset}) {
    for (const std::uint64_t value :
         {kHuge, UINT64_MAX, UINT64_MAX - 31, std::uint64_t{sound.size()},
          std::uint64_t{sound.size()} - 31, std::uint64_t{0xFFFFFFFF}, std::uint64_t{1} << 32U}) {
      Bytes lying = sound;
      RawPropertyList::setField(lying, field, value);
      const AllocationMeter meter;
      EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(lying).isNil()) << field << " " << value;
      EXPECT_LT(meter.peak(), 16384U);
    }
  }
  for (const std::size_t widthFromEnd : {26U, 25U}) {  // of an offset, of a reference
    for (const std::uint8_t width : Bytes{0, 9, 255}) {
      Bytes lying = sound;
      lying[lying.size() - widthFromEnd] = width;
      EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(lying).isNil()) << widthFromEnd << " " << +width;
    }
  }
}

TEST(HostileArchive, ReferencesThatLeadNowhere) {
  RawArchive archive;
  const Number wide = archive.list.uid(UINT64_MAX, 8);
  const Number beyond = archive.list.uid(5000, 2);
  const Number unknown = 60000;
  const std::uint32_t root = archive.addObject(
      {"NSArray", "NSObject"}, {{"NS.objects", archive.list.array({wide, beyond, unknown})}});
  const Bytes bytes = archive.finish(root);
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(bytes)),
            json({{"$array", {nullptr, nullptr, nullptr}}}));
  EXPECT_EQ(archiveJson(open(bytes)), json({{"$array", {nullptr, nullptr, nullptr}}}));
}

TEST(HostileArchive, ARootThatIsNotThere) {
  for (const std::uint32_t root : {0U, 1000U, 0xFFFFFFFFU}) {
    RawArchive archive;
    archive.addString("x");
    use(archive.finish(root));
    EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(archive.finish(root)).isNil()) << root;
  }
}

// -- Circles --------------------------------------------------------------------------------------

std::uint32_t setArray(RawArchive& archive, std::uint32_t uid,
                       const std::vector<std::uint32_t>& elements) {
  const Number references = archive.references(elements);
  archive.set(uid, archive.object({"NSArray", "NSObject"}, {{"NS.objects", references}}));
  return uid;
}

TEST(HostileArchive, AnArrayInsideItself) {
  RawArchive archive;
  const std::uint32_t self = archive.reserve();
  setArray(archive, self, {archive.addString("x"), self});
  const Bytes bytes = archive.finish(self);
  use(bytes);
  const json expected = {{"$array", {"x", nullptr}}};
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(bytes)), expected);
  EXPECT_EQ(archiveJson(open(bytes)), expected);
}

TEST(HostileArchive, WhatIsReadOfACircleDoesNotDependOnWhereReadingBegins) {
  const auto circle = [](int start) {
    RawArchive archive;
    const std::uint32_t first = archive.reserve();
    const std::uint32_t second = archive.reserve();
    const std::uint32_t third = archive.reserve();
    setArray(archive, first, {second});
    setArray(archive, second, {third});
    setArray(archive, third, {first});
    return archive.finish(std::vector{first, second, third}[static_cast<std::size_t>(start)]);
  };
  const json end = {{"$array", {nullptr}}};
  const json two = {{"$array", {end}}};
  const json three = {{"$array", {two}}};
  const json expected[] = {three, two, end};
  for (const int start : {0, 1, 2}) {
    use(circle(start));
    EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(circle(start))), expected[start]);
    EXPECT_EQ(archiveJson(open(circle(start))), expected[start]);
  }
}

TEST(HostileArchive, ADictionaryThatIsItsOwnKeyAndValue) {
  RawArchive archive;
  const std::uint32_t self = archive.reserve();
  const std::uint32_t text = archive.addString("x");
  const Number keys = archive.references({self, text, text});
  const Number values = archive.references({text, self, text});
  archive.set(self, archive.object({"NSDictionary", "NSObject"},
                                   {{"NS.keys", keys}, {"NS.objects", values}}));
  const Bytes bytes = archive.finish(self);
  use(bytes);
  const json expected = {{"$dict", json::array({json::array({"x", "x"})})}};
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(bytes)), expected);
  EXPECT_EQ(archiveJson(open(bytes)), expected);
}

TEST(HostileArchive, AReferenceBackThatClosesNoCircleIsKept) {
  RawArchive archive;
  // The shared array has the lowest number, so that everything refers back to it; and enough in it
  // that a look at its surface does not tell.
  const std::uint32_t inner = archive.addArray({archive.addString("x")});
  const std::uint32_t shared = archive.addArray({inner, inner});
  const Bytes bytes = archive.finish(archive.addArray({shared, archive.addArray({shared})}));
  const json of = {{"$array", {"x"}}};
  const json twice = {{"$array", {of, of}}};
  const json expected = {{"$array", {twice, {{"$array", {twice}}}}}};
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(bytes)), expected);
  EXPECT_EQ(archiveJson(open(bytes)), expected);
}

// Whether an object refers back to itself is found out by a look at every reference that there is.
TEST(HostileArchive, TheSearchForCirclesIsChargedForEachReference) {
  constexpr std::size_t kReferences = 100'000;
  RawArchive archive(4, 4);
  // Arrays, so that a look at the surface does not tell.
  const std::uint32_t inner = archive.addArray({archive.addString("x")});
  const std::uint32_t shared = archive.addArray(std::vector<std::uint32_t>(kReferences, inner));
  const auto bytes =
      std::make_shared<const Bytes>(archive.finish(archive.addArray({shared, shared})));
  ASSERT_EQ(KeyedUnarchiver::open(bytes).at(0).size(), kReferences);
  const auto isRefused = [&bytes](std::uint64_t units) {
    const Object root = KeyedUnarchiver::open(bytes, units);
    (void)root.at(0);
    return root.isRefused();
  };
  EXPECT_TRUE(isRefused(7 * kReferences));
  EXPECT_FALSE(isRefused(10 * kReferences));
}

TEST(HostileArchive, AUrlThatIsItsOwnBase) {
  RawArchive archive;
  const std::uint32_t self = archive.reserve();
  const Number text = archive.reference(archive.addString("file:///a"));
  const Number base = archive.reference(self);
  archive.set(self,
              archive.object({"NSURL", "NSObject"}, {{"NS.base", base}, {"NS.relative", text}}));
  const Bytes bytes = archive.finish(self);
  use(bytes);
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(bytes)), archiveJson(open(bytes)));
}

TEST(HostileArchive, AMenuThatIsItsOwnSubmenu) {
  RawArchive archive;
  const std::uint32_t menu = archive.reserve();
  const std::uint32_t array = archive.reserve();
  const std::uint32_t item = archive.reserve();
  const Number title = archive.reference(archive.addString("More"));
  const Number submenu = archive.reference(menu);
  archive.set(item, archive.object({"NSMenuItem", "NSObject"},
                                   {{"NSTitle", title}, {"NSSubmenu", submenu}}));
  setArray(archive, array, {item});
  const Number items = archive.reference(array);
  archive.set(menu, archive.object({"NSMenu", "NSObject"}, {{"NSMenuItems", items}}));
  const Bytes bytes = archive.finish(menu);
  use(bytes);
  for (const Object& read : {KeyedUnarchiver::unarchiveObject(bytes), open(bytes)}) {
    const auto decoded = read.as<Menu>();
    ASSERT_NE(decoded, nullptr);
    ASSERT_EQ(decoded->items.size(), 1U);
    EXPECT_EQ(decoded->items[0].title, "More");
    EXPECT_EQ(decoded->items[0].submenu, nullptr);
  }
}

TEST(HostileArchive, AnUnknownObjectInsideItself) {
  RawArchive archive;
  const std::uint32_t self = archive.reserve();
  const Number reference = archive.reference(self);
  const Number references = archive.references({self});
  archive.set(self,
              archive.object({"XYThing", "NSObject"}, {{"one", reference}, {"many", references}}));
  use(archive.finish(self));
}

// It is no property list at all, so the archive is none. In place that is found out when the part
// is read which holds it.
TEST(HostileArchive, APlainValueInsideItselfIsNilAsAWhole) {
  RawArchive archive(1, 1);
  const Number before = archive.list.ascii("before");
  const Number self = archive.list.raw({0xA1, static_cast<std::uint8_t>(before + 1)});
  ASSERT_EQ(self, before + 1);
  const std::uint32_t thing = archive.reserve();
  archive.set(thing, archive.object({"XYThing", "NSObject"}, {{"field", self}}));
  const Bytes bytes = archive.finish(archive.addArray({thing, archive.addString("sound")}));
  use(bytes);
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytes).isNil());
  const Object opened = open(bytes);
  EXPECT_TRUE(opened.at(0).isNil());
  EXPECT_EQ(opened.at(1).stringValue(), "sound");
  EXPECT_TRUE(opened.whole().isNil());
  EXPECT_FALSE(KeyedArchiver::archivedData(opened));
}

// -- Depth ----------------------------------------------------------------------------------------

// An array in an array in an array …
Bytes nestedArrays(int depth) {
  RawArchive archive(4, 4);
  std::uint32_t inner = archive.addArray({});
  for (int level = 1; level < depth; ++level) inner = archive.addArray({inner});
  return archive.finish(inner);
}

TEST(HostileArchive, ArraysInsideOneAnotherUpToTheLimit) {
  const Bytes deepest = nestedArrays(256);
  use(deepest);
  const Object whole = KeyedUnarchiver::unarchiveObject(deepest);
  ASSERT_FALSE(whole.isNil());
  EXPECT_TRUE(whole.isEqual(KeyedUnarchiver::unarchiveObject(deepest)));
  const auto again = KeyedArchiver::archivedData(whole);
  ASSERT_TRUE(again);
  EXPECT_TRUE(whole.isEqual(KeyedUnarchiver::unarchiveObject(*again)));
}

TEST(HostileArchive, ArraysBeyondTheLimitAreNilAsAWhole) {
  for (const int depth : {257, 100000}) {
    const Bytes tooDeep = nestedArrays(depth);
    EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(tooDeep).isNil()) << depth;
    // In place their upper levels can be read, and nothing else be done with them.
    const Object opened = open(tooDeep);
    EXPECT_EQ(opened.at(0).at(0).size(), 1U);
    EXPECT_TRUE(opened.whole().isNil());
    EXPECT_FALSE(opened.isEqual(opened));
    const Object built = Objects{Objects{}};
    EXPECT_FALSE(opened.isEqual(built));
    EXPECT_FALSE(built.isEqual(opened));
    EXPECT_FALSE(KeyedArchiver::archivedData(opened));
    EXPECT_LE(opened.description().size(), 310U);
    // What is not too deep is read, also afterwards.
    Object part = opened;
    for (int level = 0; level < depth - 100; ++level) part = part.at(0);
    EXPECT_FALSE(part.whole().isNil());
  }
}

TEST(HostileArchive, BuiltArraysBeyondTheLimitAreNotArchived) {
  Object object = Objects{};
  for (int depth = 1; depth < 256; ++depth) object = Objects{object};
  EXPECT_TRUE(KeyedArchiver::archivedData(object));
  EXPECT_FALSE(KeyedArchiver::archivedData(Objects{object}));
}

TEST(HostileArchive, BasesOfUrlsBehindOneAnother) {
  RawArchive archive(4, 4);
  std::uint32_t url = archive.addUrl(0, "file:///a/");
  for (int bases = 0; bases < 10000; ++bases) url = archive.addUrl(url, "b/");
  const Bytes bytes = archive.finish(archive.addArray({url}));
  use(bytes);
  EXPECT_TRUE(open(bytes).at(0).isNil());
}

// -- Archives inside archives ---------------------------------------------------------------------

// A tree node whose children are these archives.
Bytes nodeArchive(const std::vector<Bytes>& children) {
  RawArchive archive(4, 4);
  std::vector<std::uint32_t> blobs;
  blobs.reserve(children.size());
  for (const Bytes& child : children) blobs.push_back(archive.add(archive.list.data(child)));
  const Number array = archive.reference(archive.addArray(blobs));
  return archive.finish(
      archive.addObject({"KPTreeNode", "NSTreeNode", "NSObject"}, {{"children", array}}));
}

int levels(const KPTreeNode& node) {
  int most = 0;
  for (const auto& child : node.childNodes()) most = std::max(most, levels(*child));
  return most + 1;
}

class HostileNesting : public testing::Test {
 protected:
  HostileNesting() { registerReferenceClasses(); }
};

TEST_F(HostileNesting, ArchivesInsideOneAnotherUpToTheLimit) {
  Bytes bytes = nodeArchive({});
  for (int level = 1; level < 64; ++level) bytes = nodeArchive({bytes});
  use(bytes);
  const auto whole = KeyedUnarchiver::unarchiveObject(bytes).as<KPTreeNode>();
  ASSERT_NE(whole, nullptr);
  EXPECT_EQ(levels(*whole), 64);
  // What lies deeper is left out.
  const auto deeper = KeyedUnarchiver::unarchiveObject(nodeArchive({bytes})).as<KPTreeNode>();
  ASSERT_NE(deeper, nullptr);
  EXPECT_EQ(levels(*deeper), 64);
}

TEST_F(HostileNesting, WhatIsArchivedUpToTheLimitIsReadBack) {
  std::shared_ptr<const KPTreeNode> tree;
  for (int level = 0; level < 64; ++level)
    tree = KPTreeNode::create(std::make_shared<KPReference>(), {tree});
  const auto bytes = KeyedArchiver::archivedData(Object(tree));
  ASSERT_TRUE(bytes);
  const auto again = KeyedUnarchiver::unarchiveObject(*bytes).as<KPTreeNode>();
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(levels(*again), 64);
}

TEST_F(HostileNesting, AChildThatIsNoArchiveIsLeftOut) {
  const Bytes leaf = nodeArchive({});
  RawArchive other;
  const Bytes noNode = other.finish(other.addString("x"));
  const Bytes bytes = nodeArchive({{}, {1, 2, 3}, leaf, noNode, leaf});
  for (const Object& read : {KeyedUnarchiver::unarchiveObject(bytes), open(bytes)}) {
    const auto node = read.as<KPTreeNode>();
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->childNodes().size(), 2U);
  }
}

TEST_F(HostileNesting, OneArchiveAsAThousandChildrenAtEveryLevel) {
  // A few dozen kilobytes that would unfold to 1000^30 nodes.
  Bytes bytes = nodeArchive({});
  for (int level = 0; level < 30; ++level) {
    RawArchive archive(4, 4);
    const std::uint32_t blob = archive.add(archive.list.data(bytes));
    const Number children =
        archive.reference(archive.addArray(std::vector<std::uint32_t>(1000, blob)));
    bytes = archive.finish(
        archive.addObject({"KPTreeNode", "NSTreeNode", "NSObject"}, {{"children", children}}));
  }
  const AllocationMeter meter;
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObject(bytes).isNil());
  EXPECT_LT(meter.peak(), 200 * bytes.size());
  use(bytes);
}

}  // namespace
}  // namespace kelpie
