#include "agent/link/ReferenceMessages.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "refs/KPPullRequests.h"
#include "refs/KPReference.h"
#include "refs/KPRemote.h"
#include "refs/KPSubmodule.h"
#include "refs/KPTreeNode.h"

namespace kelpie::agent {
namespace {

Reference branch(const std::string& name, std::int64_t number = 0) {
  Reference reference;
  reference.shortName = name;
  reference.fullName = "refs/heads/" + name;
  reference.oid = "00ff10";
  reference.number = number;
  return reference;
}

Reference remoteBranch(const std::string& name) {
  Reference reference;
  reference.kind = ReferenceKind::RemoteBranch;
  reference.shortName = name;
  reference.fullName = "refs/remotes/" + name;
  return reference;
}

Remote remote(const std::string& name) {
  Remote made;
  made.name = name;
  return made;
}

std::shared_ptr<const KPTreeNode> treeOf(const ReferencesSnapshot& snapshot) {
  return referencesObject(snapshot).as<KPTreeNode>();
}

// "a b(c d(e))": the names of the nodes, each folder's children in parentheses.
std::string outline(const KPTreeNode::Children& nodes) {
  std::string text;
  for (const auto& node : nodes) {
    if (!text.empty()) text += ' ';
    text += node->representedObject()->name().value_or("?");
    if (!node->isLeaf()) text += '(' + outline(node->childNodes()) + ')';
  }
  return text;
}

TEST(ReferenceMessages, TheTreeHasSixSections) {
  const auto tree = treeOf({});
  ASSERT_NE(tree, nullptr);
  ASSERT_EQ(tree->childNodes().size(), 6U);
  for (const auto& section : tree->childNodes()) EXPECT_TRUE(section->isLeaf());
}

TEST(ReferenceMessages, NamesAreNestedAtTheirSlashes) {
  ReferencesSnapshot snapshot;
  for (const char* name : {"a", "a-b", "f/x", "f/y/1", "f/y/2", "f/z", "g/y/1", "main"})
    snapshot.branches.push_back(branch(name));
  EXPECT_EQ(outline(treeOf(snapshot)->childNodes()[1]->childNodes()),
            "a a-b f(f/x f/y(f/y/1 f/y/2) f/z) g(g/y(g/y/1)) main");
}

TEST(ReferenceMessages, ANameTooDeepToNestIsNotLost) {
  ReferencesSnapshot snapshot;
  std::string name = "x";
  for (int i = 0; i < 200; ++i) name += "/x";
  snapshot.branches.push_back(branch(name));
  auto at = treeOf(snapshot)->childNodes()[1];
  while (!at->isLeaf()) at = at->childNodes().front();
  EXPECT_EQ(at->representedObject()->name(), name);
}

TEST(ReferenceMessages, RemotesHoldTheirBranchesWithoutAFolderForTheirName) {
  ReferencesSnapshot snapshot;
  snapshot.remotes = {remote("empty"), remote("origin"), remote("team/b")};
  for (const char* name : {"origin/f/x", "origin/main", "team/b/main"})
    snapshot.remoteBranches.push_back(remoteBranch(name));
  EXPECT_EQ(outline(treeOf(snapshot)->childNodes()[3]->childNodes()),
            "empty origin(origin/f(origin/f/x) origin/main) team/b(team/b/main)");
}

TEST(ReferenceMessages, ABranchBearsWhatMenusRead) {
  ReferencesSnapshot snapshot;
  Reference head = branch("f/main", 42);
  head.isHead = true;
  head.upstream = "refs/remotes/origin/main";
  snapshot.branches = {head};
  const auto record =
      treeOf(snapshot)->childNodes()[1]->childNodes()[0]->childNodes()[0]->representedObject();
  EXPECT_EQ(record->type(), 2);
  EXPECT_EQ(record->name(), "f/main");
  EXPECT_EQ(record->fullName(), "refs/heads/f/main");
  EXPECT_EQ(record->oid(), (Bytes{0x00, 0xff, 0x10}));
  EXPECT_TRUE(record->isHead());
  EXPECT_FALSE(record->isDetached());
  EXPECT_EQ(record->upstreamName(), "refs/remotes/origin/main");
  EXPECT_EQ(record->tag(), 42);
}

TEST(ReferenceMessages, WhatIsMissingIsMissing) {
  ReferencesSnapshot snapshot;
  Reference unborn = branch("main");
  unborn.oid.clear();
  snapshot.headBranch = unborn;
  const auto record = headBranchObject(snapshot).as<KPReference>();
  ASSERT_NE(record, nullptr);
  EXPECT_FALSE(record->oid());
  EXPECT_FALSE(record->upstreamName());
  snapshot.headBranch.reset();
  EXPECT_TRUE(headBranchObject(snapshot).isNil());
}

TEST(ReferenceMessages, ARemoteBearsItsSettings) {
  ReferencesSnapshot snapshot;
  Remote origin = remote("origin");
  origin.url = "git@h:o/r.git";
  origin.fetchRefspecs = {"+refs/heads/*:refs/remotes/origin/*"};
  origin.tagOption = "--no-tags";
  origin.skipFetchAll = true;
  snapshot.remotes = {origin, remote("plain")};
  const auto nodes = treeOf(snapshot)->childNodes()[3]->childNodes();
  const auto record = std::dynamic_pointer_cast<const KPRemote>(nodes[0]->representedObject());
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->type(), 4);
  EXPECT_EQ(record->url(), "git@h:o/r.git");
  EXPECT_EQ(record->pushUrl(), "git@h:o/r.git") << "the same where no other is set";
  EXPECT_EQ(record->fetchRefspecs().at(0).stringValue(), origin.fetchRefspecs[0]);
  EXPECT_EQ(record->autotag(), 2);
  EXPECT_TRUE(record->skipFetchAll());
  const auto plain = std::dynamic_pointer_cast<const KPRemote>(nodes[1]->representedObject());
  EXPECT_FALSE(plain->url());
  EXPECT_EQ(plain->autotag(), 1);
}

TEST(ReferenceMessages, ASubmoduleBearsItsSettings) {
  struct Case {
    const char* ignore;
    const char* update;
    const char* recurse;
    int wantIgnore;
    int wantUpdate;
    int wantRecurse;
  };
  const Case cases[] = {{"", "", "", -1, 0, 0},
                        {"none", "checkout", "true", 1, 1, 1},
                        {"untracked", "rebase", "on-demand", 2, 2, 2},
                        {"dirty", "merge", "false", 3, 3, 0},
                        {"all", "none", "odd", 4, 4, 0}};
  for (const Case& c : cases) {
    ReferencesSnapshot snapshot;
    snapshot.submodules = {{"libs/zip", "deps/zip", "../zip", "aa", c.ignore, c.update, c.recurse}};
    const auto node = treeOf(snapshot)->childNodes()[4]->childNodes()[0];
    const auto record = std::dynamic_pointer_cast<const KPSubmodule>(node->representedObject());
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->name(), "libs/zip");
    EXPECT_EQ(record->path(), "deps/zip");
    EXPECT_EQ(record->url(), "../zip");
    EXPECT_EQ(record->oid(), (Bytes{0xaa}));
    EXPECT_EQ(record->ignore(), c.wantIgnore) << c.ignore;
    EXPECT_EQ(record->update(), c.wantUpdate) << c.update;
    EXPECT_EQ(record->recurse(), c.wantRecurse) << c.recurse;
  }
}

TEST(ReferenceMessages, PullRequestsAreAFlatList) {
  ReferencesSnapshot snapshot;
  snapshot.pullRequests = {{"refs/pull/1/head", "aa", "#1 a/b"}, {"refs/pull/2/head", "bb", "#2"}};
  const auto nodes = treeOf(snapshot)->childNodes()[5]->childNodes();
  EXPECT_EQ(outline(nodes), "#1 a/b #2");
  EXPECT_NE(std::dynamic_pointer_cast<const KPPullRequests>(nodes[0]->representedObject()),
            nullptr);
}

TEST(ReferenceMessages, NamesThatAreNotUtf8AreShown) {
  ReferencesSnapshot snapshot;
  snapshot.branches = {branch("a\xff/b")};
  snapshot.stashes = {{"aa", "On x: \xfe"}};
  EXPECT_EQ(outline(treeOf(snapshot)->childNodes()[1]->childNodes()),
            "a\xEF\xBF\xBD(a\xEF\xBF\xBD/b)");
  EXPECT_EQ(stashesObject(snapshot).at(0).stringValue(), "On x: \xEF\xBF\xBD");
}

TEST(ReferenceMessages, GitflowListsItsBranches) {
  ReferencesSnapshot snapshot;
  EXPECT_TRUE(gitflowObject(snapshot).isNil());
  snapshot.gitflow.emplace();
  snapshot.gitflow->master = "main";
  snapshot.gitflow->develop = "dev";
  snapshot.gitflow->features = {"feature/a", "feature/b"};
  const Object info = gitflowObject(snapshot);
  EXPECT_EQ(info["gitflow.branch.develop"].stringValue(), "dev");
  EXPECT_EQ(info["gitflow.branch.features"].size(), 2U);
  EXPECT_EQ(info["gitflow.branch.features"].at(1).stringValue(), "feature/b");
  EXPECT_TRUE(info["gitflow.branch.releases"].isArray());
  EXPECT_EQ(info["gitflow.branch.releases"].size(), 0U);
}

}  // namespace
}  // namespace kelpie::agent
