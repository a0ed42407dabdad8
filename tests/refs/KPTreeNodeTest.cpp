#include "refs/KPTreeNode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>

#include "foundation/Dictionary.h"
#include "refs/ArchiveRoundTrip.h"
#include "refs/KPRemote.h"
#include "refs/RecordingEncoder.h"
#include "support/References.h"

namespace kelpie {
namespace {

using Nodes = KPTreeNode::Children;
using Node = std::shared_ptr<const KPTreeNode>;

Node leaf(const char* name) { return makeLeaf({.name = name}); }

// The names of the children, in order; "-" for one without a record.
std::vector<std::string> namesOfChildren(const KPTreeNode& node) {
  std::vector<std::string> names;
  for (const Node& child : node.childNodes()) {
    const auto& record = child->representedObject();
    names.push_back(record != nullptr ? record->name().value_or("") : "-");
  }
  return names;
}

// A chain of that many nodes, each the only child of the one before.
Node chain(int levels) {
  Node node = leaf("deepest");
  for (int i = 1; i < levels; ++i) node = KPTreeNode::create(nullptr, {node});
  return node;
}

int levelsOf(const KPTreeNode& node) {
  int levels = 1;
  const KPTreeNode* level = &node;
  for (; !level->isLeaf(); ++levels) level = level->childNodes().front().get();
  return levels;
}

Bytes bytesOfArchive(const Object& object) {
  return KeyedArchiver::archivedData(object).value_or(Bytes());
}

Object archiveOf(const Object& object) { return bytesOfArchive(object); }
Object archiveOf(const Node& node) { return bytesOfArchive(Object(node)); }

bool contains(const Bytes& whole, const Bytes& part) {
  return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

TEST(KPTreeNode, CopyYieldsNoNode) {
  EXPECT_EQ(leaf("main")->copy(), nullptr);
  EXPECT_FALSE(std::is_copy_constructible_v<KPTreeNode>);
  EXPECT_FALSE(std::is_copy_assignable_v<KPTreeNode>);
}

TEST(KPTreeNode, KeepsItsChildrenInOrderAndIsTheirParent) {
  const Nodes children = {leaf("b"), leaf("a"), leaf("c")};
  const Node node = makeFolder("feature", children);
  EXPECT_EQ(node->childNodes(), children);
  EXPECT_FALSE(node->isLeaf());
  EXPECT_EQ(node->parentNode(), nullptr);
  for (const Node& child : children) EXPECT_EQ(child->parentNode(), node);
}

TEST(KPTreeNode, DoesNotKeepItsParentAlive) {
  const Node child = leaf("x");
  { const Node parent = KPTreeNode::create(nullptr, {child}); }
  EXPECT_EQ(child->parentNode(), nullptr);
}

TEST(KPTreeNode, NeverHasAnEmptySlot) {
  const Node node = KPTreeNode::create(nullptr, {nullptr, leaf("a"), nullptr});
  EXPECT_EQ(namesOfChildren(*node), std::vector<std::string>{"a"});
}

TEST(KPTreeNode, ChildHasOneParentOnly) {
  const Node child = leaf("x");
  const Node first = KPTreeNode::create(nullptr, {child, child});
  EXPECT_EQ(first->childNodes().size(), 1U);
  const Node second = KPTreeNode::create(nullptr, {child});
  EXPECT_TRUE(second->isLeaf());
  EXPECT_EQ(child->parentNode(), first);
}

TEST(KPTreeNode, ChildWhoseParentIsGoneCanHaveAnother) {
  const Node child = leaf("x");
  { const Node parent = KPTreeNode::create(nullptr, {child}); }
  const Node second = KPTreeNode::create(nullptr, {child});
  EXPECT_EQ(child->parentNode(), second);
}

TEST(KPTreeNode, TreeDoesNotGrowDeeperThanArchivesMayBe) {
  const Node deepest = chain(KPTreeNode::kMaximumDepth);
  EXPECT_EQ(levelsOf(*deepest), KPTreeNode::kMaximumDepth);
  const Node above = KPTreeNode::create(nullptr, {deepest, leaf("beside")});
  EXPECT_EQ(namesOfChildren(*above), std::vector<std::string>{"beside"});
  EXPECT_EQ(deepest->parentNode(), nullptr);
}

TEST(KPTreeNode, WritesObjectAndChildren) {
  const Node node = KPTreeNode::create(nullptr, {leaf("a"), leaf("b")});
  RecordingEncoder encoder;
  node->encodeWithCoder(encoder);
  EXPECT_EQ(encoder.calls, (std::vector<std::string>{"object object nil", "object children"}));
  const Object& children = encoder.objects["children"];
  ASSERT_EQ(children.size(), 2U);
  EXPECT_TRUE(children.at(0).isEqual(archiveOf(node->childNodes()[0])));
  EXPECT_TRUE(children.at(1).isEqual(archiveOf(node->childNodes()[1])));
}

TEST(KPTreeNode, ThreeLevelsAreThreeNestedArchives) {
  const Node grandchild = leaf("x");
  const Node child = makeFolder("feature", {grandchild});
  const Node root = KPTreeNode::create(nullptr, {child});
  const Bytes innermost = bytesOfArchive(Object(grandchild));
  const Bytes inner = bytesOfArchive(Object(child));
  const Bytes outer = bytesOfArchive(Object(root));
  ASSERT_FALSE(innermost.empty());
  EXPECT_TRUE(contains(inner, innermost));
  EXPECT_TRUE(contains(outer, inner));
}

TEST(KPTreeNode, ComesBackFromItsArchive) {
  const auto remote = std::make_shared<KPRemote>("origin");
  remote->setUrl("git@h:o/r.git");
  const Node root = KPTreeNode::create(
      nullptr, {leaf("a"), KPTreeNode::create(remote, {leaf("origin/main"), leaf("origin/x")})});
  const auto read = archivedAndRead<KPTreeNode>(Object(root));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->representedObject(), nullptr);
  EXPECT_EQ(namesOfChildren(*read), (std::vector<std::string>{"a", "origin"}));
  const Node readRemote = read->childNodes()[1];
  EXPECT_EQ(namesOfChildren(*readRemote), (std::vector<std::string>{"origin/main", "origin/x"}));
  const auto record = std::dynamic_pointer_cast<const KPRemote>(readRemote->representedObject());
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->url(), "git@h:o/r.git");
}

TEST(KPTreeNode, EmptyChildrenDecodeAsALeaf) {
  const auto read = readFromKeys<KPTreeNode>("KPTreeNode", {{"children", Objects{}}});
  ASSERT_NE(read, nullptr);
  EXPECT_TRUE(read->isLeaf());
}

TEST(KPTreeNode, MissingKeysDecodeAsALeafWithoutARecord) {
  const auto read = readFromKeys<KPTreeNode>("KPTreeNode", {});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->representedObject(), nullptr);
  EXPECT_TRUE(read->isLeaf());
}

TEST(KPTreeNode, ChildrenDecodeInTheOrderOfTheirBlobs) {
  const auto read = readFromKeys<KPTreeNode>(
      "KPTreeNode",
      {{"children", Objects{archiveOf(leaf("c")), archiveOf(leaf("a")), archiveOf(leaf("b"))}}});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(namesOfChildren(*read), (std::vector<std::string>{"c", "a", "b"}));
  for (const Node& child : read->childNodes()) EXPECT_EQ(child->parentNode(), read);
}

TEST(KPTreeNode, EqualBlobsAreSeparateChildren) {
  const Object blob = archiveOf(KPTreeNode::create(nullptr));
  const auto read =
      readFromKeys<KPTreeNode>("KPTreeNode", {{"children", Objects{blob, blob, blob}}});
  ASSERT_NE(read, nullptr);
  ASSERT_EQ(read->childNodes().size(), 3U);
  EXPECT_NE(read->childNodes()[0], read->childNodes()[1]);
}

TEST(KPTreeNode, WhatDecodesIntoNoTreeNodeIsSkipped) {
  struct Case {
    const char* why = nullptr;
    Object child;
  };
  Bytes truncated = bytesOfArchive(Object(leaf("x")));
  truncated.resize(truncated.size() / 2);
  const Case cases[] = {
      {"nothing in it", Bytes{}},
      {"no archive", Bytes{'b', 'p', 'l', 'i', 's', 't'}},
      {"cut off", truncated},
      {"an archive of a record", archiveOf(Object(makeReference({.name = "x"})))},
      {"an archive of a string", archiveOf(Object("x"))},
      {"an archive of an array of nodes", archiveOf(Object(Objects{Object(leaf("x"))}))},
      {"no data but a string", "x"},
      {"no data but the node itself", Object(leaf("x"))},
  };
  for (const Case& c : cases) {
    const auto read = readFromKeys<KPTreeNode>(
        "KPTreeNode", {{"children", Objects{archiveOf(leaf("a")), c.child, archiveOf(leaf("b"))}}});
    ASSERT_NE(read, nullptr) << c.why;
    EXPECT_EQ(namesOfChildren(*read), (std::vector<std::string>{"a", "b"})) << c.why;
  }
}

TEST(KPTreeNode, ChildrenThatAreNoArrayAreNone) {
  const Object blob = archiveOf(leaf("x"));
  for (const Object& children : {blob, Object("x"), Object(Dictionary{{"0", blob}}), Object(1)}) {
    const auto read = readFromKeys<KPTreeNode>("KPTreeNode", {{"children", children}});
    ASSERT_NE(read, nullptr) << children.description();
    EXPECT_TRUE(read->isLeaf()) << children.description();
  }
}

TEST(KPTreeNode, ObjectThatIsNoRecordIsNone) {
  for (const Object& object : {Object("main"), Object(1), Object(leaf("x"))}) {
    const auto read = readFromKeys<KPTreeNode>("KPTreeNode", {{"object", object}});
    ASSERT_NE(read, nullptr) << object.description();
    EXPECT_EQ(read->representedObject(), nullptr) << object.description();
  }
}

TEST(KPTreeNode, DeepestTreeComesBackWhole) {
  const auto read = archivedAndRead<KPTreeNode>(Object(chain(KPTreeNode::kMaximumDepth)));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(levelsOf(*read), KPTreeNode::kMaximumDepth);
}

TEST(KPTreeNode, ArchivesNestedTooDeepLoseWhatIsTooDeep) {
  // Built by hand, since no tree is that deep.
  Object blob = archiveOf(leaf("deepest"));
  for (int i = 1; i < KPTreeNode::kMaximumDepth + 36; ++i) {
    blob = archiveOf(Object(
        OpaqueObject{{"KPTreeNode", "NSTreeNode", "NSObject"}, {{"children", Objects{blob}}}}));
  }
  registerReferenceClasses();
  const auto read = KeyedUnarchiver::unarchiveObject(*blob.data()).as<KPTreeNode>();
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(levelsOf(*read), KPTreeNode::kMaximumDepth);
}

// Folders in folders as a big repository has them: what bounds hostile archives lets it through.
TEST(KPTreeNode, BigTreeComesBackWhole) {
  constexpr int kBranches = 10;
  constexpr int kLevels = 3;
  int leaves = 0;
  const std::function<Node(int)> grow = [&](int level) {
    if (level == 0) {
      const std::string name = "team/topic/branch-" + std::to_string(++leaves);
      return makeLeaf({.name = name, .fullName = "refs/heads/" + name, .oid = Bytes(20, 1)});
    }
    Nodes children;
    for (int i = 0; i < kBranches; ++i) children.push_back(grow(level - 1));
    return makeFolder("folder", std::move(children));
  };
  Node root = grow(kLevels);
  for (int i = 0; i < 10; ++i) root = makeFolder("above", {root});
  const Bytes archive = bytesOfArchive(Object(root));

  registerReferenceClasses();
  Node read = KeyedUnarchiver::unarchiveObject(archive).as<KPTreeNode>();
  for (int i = 0; i < 10; ++i) {
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->childNodes().size(), 1U);
    read = read->childNodes().front();
  }
  int found = 0;
  const std::function<void(const KPTreeNode&)> count = [&](const KPTreeNode& node) {
    if (node.isLeaf()) {
      ++found;
      EXPECT_EQ(node.representedObject()->name(), "team/topic/branch-" + std::to_string(found));
    }
    for (const Node& child : node.childNodes()) count(*child);
  };
  count(*read);
  EXPECT_EQ(found, leaves);
}

// One small archive whose children list names the same bytes again and again, many levels deep,
// describes more nodes than any memory holds.
TEST(KPTreeNode, RepeatedBlobsDoNotMultiply) {
  constexpr std::size_t kRepeats = 100;
  Object blob = archiveOf(leaf("x"));
  for (int i = 0; i < 30; ++i) {
    blob = archiveOf(Object(OpaqueObject{{"KPTreeNode", "NSTreeNode", "NSObject"},
                                         {{"children", Objects(kRepeats, blob)}}}));
    ASSERT_LT(blob.data()->size(), 200'000U) << "the writer kept the copies apart";
  }
  registerReferenceClasses();
  const auto read = KeyedUnarchiver::unarchiveObject(*blob.data()).as<KPTreeNode>();
  // Cut short somewhere, or refused; with all of its nodes it would not have come back at all.
  EXPECT_TRUE(read == nullptr || read->childNodes().size() <= kRepeats);
}

}  // namespace
}  // namespace kelpie
