#include "refs/ReferenceOutline.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

#include "support/References.h"

namespace kelpie {
namespace {

// Titles, with what is below in braces.
std::string titlesOf(ReferenceEntries entries) {
  std::string text;
  for (std::size_t i = 0; i < entries.size(); i += 1 + entries[i].descendants) {
    if (!text.empty()) text += ' ';
    text += entries[i].title;
    if (entries[i].children == 0) continue;
    text += "{" + titlesOf(entries.subspan(i + 1, entries[i].descendants)) + "}";
  }
  return text;
}

TEST(ReferenceOutline, IsEmptyWithoutATree) {
  EXPECT_TRUE(ReferenceOutline().entries().empty());
  EXPECT_TRUE(ReferenceOutline().entriesBelowChild(0).empty());
  EXPECT_TRUE(ReferenceOutline(*makeLeaf({.name = "x"})).entries().empty());
}

TEST(ReferenceOutline, FollowsTheTree) {
  const auto tree =
      makeFolder("root", {makeFolder("a", {makeFolder("a/b", {makeLeaf({.name = "a/b/1"})}),
                                           makeLeaf({.name = "a/2"}), makeLeaf({.name = "a/3/"})}),
                          makeLeaf({.name = "4"}), makeFolder("c", {makeLeaf({.name = "c/5"})})});
  const ReferenceOutline outline(*tree);
  EXPECT_EQ(titlesOf(outline.entries()), "a{b{1} 2 3} 4 c{5}");
  EXPECT_EQ(titlesOf(outline.entriesBelowChild(0)), "b{1} 2 3");
  EXPECT_EQ(titlesOf(outline.entriesBelowChild(1)), "");
  EXPECT_EQ(titlesOf(outline.entriesBelowChild(2)), "5");
  EXPECT_EQ(titlesOf(outline.entriesBelowChild(3)), "");
  EXPECT_EQ(titlesOf(outline.entriesBelowChild(~std::uint64_t{0})), "");
  EXPECT_EQ(outline.entries()[0].children, 3U);
}

TEST(ReferenceOutline, HasWhatTheRecordHas) {
  const auto record = makeReference({.name = "feature/x",
                                     .fullName = "refs/heads/feature/x",
                                     .upstreamName = "refs/remotes/origin/x",
                                     .oid = Bytes{},
                                     .head = true,
                                     .detached = true,
                                     .tag = -7});
  const auto root = KPTreeNode::create(nullptr, {KPTreeNode::create(record)});
  const ReferenceOutline outline(*root);
  ASSERT_EQ(outline.entries().size(), 1U);
  const ReferenceEntry& entry = outline.entries()[0];
  EXPECT_EQ(entry.name, "feature/x");
  EXPECT_EQ(entry.title, "x");
  EXPECT_EQ(entry.upstreamName, "refs/remotes/origin/x");
  EXPECT_EQ(entry.fullNameSize, record->fullName()->size());
  EXPECT_EQ(entry.record, record.get());
  EXPECT_EQ(entry.tag, -7);
  EXPECT_TRUE(entry.hasUpstream && entry.hasOid && entry.isHead && entry.isDetached);
}

TEST(ReferenceOutline, HasNothingOfANodeWithoutARecord) {
  const auto root = KPTreeNode::create(nullptr, {KPTreeNode::create(nullptr)});
  const ReferenceOutline outline(*root);
  ASSERT_EQ(outline.entries().size(), 1U);
  const ReferenceEntry& entry = outline.entries()[0];
  EXPECT_EQ(entry.name, "");
  EXPECT_EQ(entry.title, "");
  EXPECT_EQ(entry.upstreamName, "");
  EXPECT_EQ(entry.tag, 0);
  ASSERT_NE(entry.record, nullptr);
  EXPECT_EQ(entry.record->fullName(), std::nullopt);
  EXPECT_FALSE(entry.hasUpstream || entry.hasOid || entry.isHead || entry.isDetached);
}

TEST(ReferenceOutline, KeepsItsTextWhenItMoves) {
  const auto root = KPTreeNode::create(nullptr, {makeLeaf({.name = "x"})});
  ReferenceOutline first(*root);
  const ReferenceOutline second(std::move(first));
  EXPECT_EQ(titlesOf(second.entries()), "x");
}

}  // namespace
}  // namespace kelpie
