#include "refs/KPRefsManager.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/OpaqueObject.h"
#include "refs/KPPullRequests.h"
#include "refs/KPRemote.h"
#include "refs/KPSubmodule.h"
#include "support/EventLog.h"
#include "support/FakeBundle.h"
#include "support/FakeLog.h"
#include "support/MenuDescription.h"
#include "support/RawPropertyList.h"
#include "support/References.h"

namespace kelpie {
namespace {

using Lines = std::vector<std::string>;
using Nodes = KPTreeNode::Children;
using Sections = std::vector<std::uint64_t>;

const Bytes kOid = {1, 2, 3};

std::shared_ptr<const KPTreeNode> branch(const char* name, std::int64_t tag = 0) {
  return makeLeaf({.name = name, .oid = kOid, .tag = tag});
}

template <class Record>
std::shared_ptr<const KPTreeNode> nodeOf(const char* name, const Nodes& children = {}) {
  return KPTreeNode::create(std::make_shared<Record>(name), children);
}

Nodes headAndOthers() {
  return {makeLeaf({.name = "main",
                    .fullName = "refs/heads/main",
                    .upstreamName = "refs/remotes/origin/main",
                    .oid = kOid,
                    .head = true,
                    .tag = 100}),
          makeFolder("feature", {makeLeaf({.name = "feature/x",
                                           .fullName = "refs/heads/feature/x",
                                           .upstreamName = "refs/remotes/origin/x",
                                           .oid = kOid,
                                           .tag = 101})})};
}

Nodes tags() { return {branch("v1.0", 200), makeLeaf({.name = "noid", .tag = 201})}; }

Nodes remotes() {
  return {nodeOf<KPRemote>("origin", {makeLeaf({.name = "origin/main",
                                                .fullName = "refs/remotes/origin/main",
                                                .oid = kOid,
                                                .tag = 301})}),
          nodeOf<KPRemote>("team/bare")};
}

class KPRefsManagerTest : public testing::Test {
 protected:
  void setSections(std::vector<Nodes> sections) {
    manager.setReferences(Object(makeReferencesTree(std::move(sections))));
  }
  void setUsualReferences() {
    setSections({{},
                 headAndOthers(),
                 tags(),
                 remotes(),
                 {nodeOf<KPSubmodule>("libs/zip")},
                 {nodeOf<KPPullRequests>("#12 Fix"), nodeOf<KPPullRequests>("a/b")}});
  }
  // The items of the picker's submenu.
  Lines picker(std::string_view action, const Sections& sections, bool hasHeader = false,
               const KPReference* reference = nullptr) {
    const MenuItem item = manager.menuItemWithTitle("Pick", reference, action, sections, hasHeader);
    return item.submenu != nullptr ? describe(*item.submenu) : Lines{"no submenu"};
  }

  FakeBundle bundle;
  EventLog events;
  FakeLog log{events};
  KPRefsManager manager{bundle, log};
};

// -- Values ---------------------------------------------------------------------------------------

TEST_F(KPRefsManagerTest, NewOneHasNothing) {
  EXPECT_EQ(manager.references(), nullptr);
  EXPECT_EQ(manager.stashes(), std::nullopt);
  EXPECT_TRUE(manager.gitflowInfo().isNil());
  EXPECT_EQ(manager.headBranch(), nullptr);
  EXPECT_FALSE(manager.isBare());
  EXPECT_FALSE(manager.hasGitlfs());
  EXPECT_FALSE(manager.hasHeadCommit());
}

TEST_F(KPRefsManagerTest, SettersReplaceTheWholeValue) {
  const auto tree = makeReferencesTree({});
  const auto head = makeReference({.name = "main"});
  manager.setReferences(Object(tree));
  manager.setStashes(Objects{"one", "two"});
  manager.setStashes(Objects{"three"});
  manager.setGitflowInfo(Dictionary{{"a", 1}});
  manager.setGitflowInfo(Dictionary{{"b", 2}});
  manager.setHeadBranch(head);
  EXPECT_EQ(manager.references(), tree);
  EXPECT_EQ(manager.stashes(), Lines{"three"});
  EXPECT_TRUE(manager.gitflowInfo().isEqual(Dictionary{{"b", 2}}));
  EXPECT_EQ(manager.headBranch(), head);
  manager.setReferences(Object());
  manager.setStashes(Object());
  manager.setGitflowInfo(Object());
  manager.setHeadBranch(nullptr);
  EXPECT_EQ(manager.references(), nullptr);
  EXPECT_EQ(manager.stashes(), std::nullopt);
  EXPECT_TRUE(manager.gitflowInfo().isNil());
  EXPECT_EQ(manager.headBranch(), nullptr);
}

TEST_F(KPRefsManagerTest, EachFlagIsItsOwn) {
  manager.setBare(true);
  EXPECT_TRUE(manager.isBare() && !manager.hasGitlfs() && !manager.hasHeadCommit());
  manager.setBare(false);
  manager.setHasGitlfs(true);
  EXPECT_TRUE(!manager.isBare() && manager.hasGitlfs() && !manager.hasHeadCommit());
  manager.setHasGitlfs(false);
  manager.setHasHeadCommit(true);
  EXPECT_TRUE(!manager.isBare() && !manager.hasGitlfs() && manager.hasHeadCommit());
}

TEST_F(KPRefsManagerTest, ValuesOfOtherClassesReadAsNothing) {
  setUsualReferences();
  manager.setReferences("refs");
  EXPECT_EQ(manager.references(), nullptr);
  manager.setReferences(Object(makeReference({.name = "main"})));
  EXPECT_EQ(manager.references(), nullptr);
  manager.setStashes("stash@{0}");
  EXPECT_FALSE(manager.hasStashes());
  manager.setStashes(Dictionary{{"0", "stash"}});
  EXPECT_FALSE(manager.hasStashes());
  manager.setGitflowInfo(Objects{"gitflow.branch.features"});
  EXPECT_TRUE(manager.gitflowInfo().isNil());
}

// -- Predicates -----------------------------------------------------------------------------------

TEST_F(KPRefsManagerTest, HasStashesWhenThereIsOne) {
  EXPECT_FALSE(manager.hasStashes());
  manager.setStashes(Objects{});
  EXPECT_FALSE(manager.hasStashes());
  manager.setStashes(Objects{"WIP"});
  EXPECT_TRUE(manager.hasStashes());
}

TEST_F(KPRefsManagerTest, PredicatesLookAtTheirOwnSection) {
  for (std::size_t filled = 0; filled < 6; ++filled) {
    std::vector<Nodes> sections(6);
    sections[filled].push_back(branch("x"));
    setSections(std::move(sections));
    EXPECT_EQ(manager.hasRemotes(), filled == 3) << filled;
    EXPECT_EQ(manager.hasSubmodules(), filled == 4) << filled;
    EXPECT_EQ(manager.hasPullRequests(), filled == 5) << filled;
  }
}

TEST_F(KPRefsManagerTest, PredicatesAnswerNoWithoutReferences) {
  EXPECT_FALSE(manager.hasRemotes());
  EXPECT_FALSE(manager.hasSubmodules());
  EXPECT_FALSE(manager.hasPullRequests());
}

TEST_F(KPRefsManagerTest, SectionsThatAreNotThereAreEmpty) {
  for (std::size_t count = 0; count < 6; ++count) {
    std::vector<Nodes> sections(count);
    for (Nodes& section : sections) section.push_back(branch("x"));
    setSections(std::move(sections));
    EXPECT_EQ(manager.hasRemotes(), count > 3) << count;
    EXPECT_EQ(manager.hasSubmodules(), count > 4) << count;
    EXPECT_EQ(manager.hasPullRequests(), count > 5) << count;
    EXPECT_EQ(manager.remotesMenuWithAction("a:")->items.size(), count > 3 ? 1U : 0U) << count;
    EXPECT_EQ(picker("a:", {1, 2, 3}).size(), std::min<std::size_t>(count > 0 ? count - 1 : 0, 3))
        << count;
  }
}

// -- Flat menus -----------------------------------------------------------------------------------

TEST_F(KPRefsManagerTest, StashesMenuHasTheTitlesAsTheyStand) {
  manager.setStashes(Objects{"stash@{0}: WIP on main", "", "a/b/"});
  const auto menu = manager.stashesMenuWithAction("applyStash:");
  EXPECT_EQ(menu->title, "");
  EXPECT_EQ(describe(*menu), (Lines{"stash@{0}: WIP on main > applyStash:", " > applyStash: #1",
                                    "a/b/ > applyStash: #2"}));
}

TEST_F(KPRefsManagerTest, StashThatIsNoStringKeepsThePositionsOfTheOthers) {
  manager.setStashes(Objects{"one", 2, "three"});
  EXPECT_EQ(describe(*manager.stashesMenuWithAction("a:")),
            (Lines{"one > a:", " > a: #1", "three > a: #2"}));
}

TEST_F(KPRefsManagerTest, RemotesSubmodulesAndPullRequestsHaveTheirWholeNames) {
  setUsualReferences();
  EXPECT_EQ(describe(*manager.remotesMenuWithAction("fetch:")),
            (Lines{"origin > fetch:", "team/bare > fetch: #1"}));
  EXPECT_EQ(describe(*manager.submodulesMenuWithAction("updateSubmodule:")),
            Lines{"libs/zip > updateSubmodule:"});
  EXPECT_EQ(describe(*manager.pullRequestsMenuWithAction("openPullRequest:")),
            (Lines{"#12 Fix > openPullRequest:", "a/b > openPullRequest: #1"}));
}

TEST_F(KPRefsManagerTest, FlatMenusAreTaggedByPositionAndNotByRecord) {
  setSections({{}, {}, {}, {branch("one", 300), branch("two", 301)}});
  EXPECT_EQ(describe(*manager.remotesMenuWithAction("a:")), (Lines{"one > a:", "two > a: #1"}));
}

TEST_F(KPRefsManagerTest, FlatMenusAreEmptyWhenThereIsNothing) {
  for (const bool withTree : {false, true}) {
    if (withTree) setSections(std::vector<Nodes>(6));
    for (const auto& menu :
         {manager.stashesMenuWithAction("a:"), manager.remotesMenuWithAction("a:"),
          manager.submodulesMenuWithAction("a:"), manager.pullRequestsMenuWithAction("a:")}) {
      ASSERT_NE(menu, nullptr);
      EXPECT_TRUE(menu->items.empty());
    }
  }
}

TEST_F(KPRefsManagerTest, NodeWithoutARecordHasAnEmptyTitle) {
  setSections({{}, {KPTreeNode::create(nullptr)}, {}, {KPTreeNode::create(nullptr)}});
  EXPECT_EQ(describe(*manager.remotesMenuWithAction("a:")), Lines{" > a:"});
  EXPECT_EQ(picker("checkout:", {1}), Lines{" (disabled)"});
}

// -- Git-flow menus -------------------------------------------------------------------------------

TEST_F(KPRefsManagerTest, GitflowMenusHaveTheirOwnKeysAndActions) {
  manager.setGitflowInfo(Dictionary{{"gitflow.branch.features", Objects{"feature/a", "feature/b"}},
                                    {"gitflow.branch.releases", Objects{"release/1"}},
                                    {"gitflow.branch.hotfixes", Objects{"hotfix/1"}}});
  EXPECT_EQ(describe(*manager.gitflowFeaturesMenu()),
            (Lines{"feature/a > finishGitflowFeature:", "feature/b > finishGitflowFeature: #1"}));
  EXPECT_EQ(describe(*manager.gitflowReleasesMenu()), Lines{"release/1 > finishGitflowRelease:"});
  EXPECT_EQ(describe(*manager.gitflowHotfixesMenu()), Lines{"hotfix/1 > finishGitflowHotfix:"});
}

TEST_F(KPRefsManagerTest, GitflowMenusAreNullWhenThereIsNothing) {
  const Object infos[] = {
      Object(),
      Dictionary{},
      Dictionary{{"gitflow.branch.features", Objects{}},
                 {"gitflow.branch.releases", Objects{}},
                 {"gitflow.branch.hotfixes", Objects{}}},
      Dictionary{{"gitflow.branch.features", "feature/a"},
                 {"gitflow.branch.releases", 1},
                 {"gitflow.branch.hotfixes", Dictionary{{"0", "hotfix/1"}}}},
  };
  for (const Object& info : infos) {
    manager.setGitflowInfo(info);
    EXPECT_EQ(manager.gitflowFeaturesMenu(), nullptr) << info.description();
    EXPECT_EQ(manager.gitflowReleasesMenu(), nullptr) << info.description();
    EXPECT_EQ(manager.gitflowHotfixesMenu(), nullptr) << info.description();
  }
}

// -- Picker ---------------------------------------------------------------------------------------

TEST_F(KPRefsManagerTest, PickerItemHasTitleAndSubmenuAndNoAction) {
  setUsualReferences();
  const MenuItem item = manager.menuItemWithTitle("Merge", nullptr, "merge:", {2}, false);
  EXPECT_EQ(describe(item), "Merge {: v1.0 > merge: #200 | noid #201 (disabled)}");
}

TEST_F(KPRefsManagerTest, PickerWithoutReferencesHasAnEmptySubmenu) {
  EXPECT_EQ(describe(manager.menuItemWithTitle("Merge", nullptr, "merge:", {1, 2, 3}, true)),
            "Merge {: }");
  setSections(std::vector<Nodes>(6));
  EXPECT_EQ(describe(manager.menuItemWithTitle("Merge", nullptr, "merge:", {1, 2, 3}, true)),
            "Merge {: }");
  setUsualReferences();
  EXPECT_EQ(describe(manager.menuItemWithTitle("Merge", nullptr, "merge:", {}, true)),
            "Merge {: }");
}

TEST_F(KPRefsManagerTest, SectionsFollowOneAnotherInTheOrderOfTheList) {
  setSections({{branch("zero")}, {branch("one")}, {branch("two")}, {branch("three")}});
  EXPECT_EQ(picker("a:", {3, 1, 2}), (Lines{"three > a:", "one > a:", "two > a:"}));
  EXPECT_EQ(picker("a:", {2, 2}), (Lines{"two > a:", "two > a:"}));
}

TEST_F(KPRefsManagerTest, HeadersStandAboveSectionsThatAreNotEmpty) {
  setSections({{}, {branch("one")}, {branch("two")}, {branch("three")}});
  EXPECT_EQ(
      picker("a:", {1, 2, 3}, true),
      (Lines{"Local Branches [BranchImage] (disabled)", "one > a:", "Tags [TagImage] (disabled)",
             "two > a:", "Remote Branches [BranchImage] (disabled)", "three > a:"}));
  setSections({{}, {}, {branch("two")}, {}});
  EXPECT_EQ(picker("a:", {1, 2, 3}, true), (Lines{"Tags [TagImage] (disabled)", "two > a:"}));
}

TEST_F(KPRefsManagerTest, TagsHeaderHasTheSystemSymbolWhereThereIsOne) {
  setSections({{}, {}, {branch("two")}});
  bundle.systemSymbols = true;
  const MenuItem item = manager.menuItemWithTitle("Pick", nullptr, "a:", {2}, true);
  ASSERT_FALSE(item.submenu->items.empty());
  EXPECT_EQ(item.submenu->items[0].image, (Image{"tag", Image::Source::SystemSymbol}));
}

TEST_F(KPRefsManagerTest, FoldersAreSubmenusOfLastComponents) {
  setSections({{},
               {makeFolder("feature", {branch("feature/x", 5),
                                       makeFolder("feature/deep", {branch("feature/deep/y", 6)})}),
                branch("main", 7)}});
  EXPECT_EQ(picker("createTag:", {1}),
            (Lines{"feature {: x > createTag: #5 | deep {: y > createTag: #6}}",
                   "main > createTag: #7"}));
}

TEST_F(KPRefsManagerTest, FolderHasNothingOfItsRecordButTheTitle) {
  const auto record = makeReference({.name = "a/folder",
                                     .fullName = "refs/heads/main",
                                     .upstreamName = "refs/remotes/origin/main",
                                     .oid = kOid,
                                     .head = true,
                                     .tag = 9});
  setSections({{}, {KPTreeNode::create(record, {branch("x")})}});
  for (const char* action : {"checkout:", "fastForward:", "deleteBranches:"}) {
    const MenuItem item = manager.menuItemWithTitle("Pick", nullptr, action, {1}, false);
    MenuItem folder = item.submenu->items.at(0);
    folder.submenu = nullptr;
    EXPECT_EQ(describe(folder), "folder") << action;
  }
}

TEST_F(KPRefsManagerTest, BranchInAFolderIsFastForwardedByItsWholeName) {
  setUsualReferences();
  EXPECT_EQ(picker("fastForward:", {1}),
            (Lines{"main to \"origin/main\" > fastForward: #100",
                   "feature {: feature/x to \"origin/x\" > fastForward: #101}"}));
}

TEST_F(KPRefsManagerTest, CheckoutMarksTheHeadBranch) {
  setUsualReferences();
  EXPECT_EQ(picker("checkout:", {1}),
            (Lines{"main #100 (on) (disabled)", "feature {: x > checkout: #101}"}));
}

TEST_F(KPRefsManagerTest, MergeMarksWhatTheHeadBranchTracks) {
  setUsualReferences();
  const auto head = headAndOthers()[0]->representedObject();
  EXPECT_EQ(picker("merge:", {1, 3}, false, head.get()),
            (Lines{"main #100 (disabled)", "feature {: x > merge: #101}",
                   "origin {: main > merge: #301 (on)}", "bare (disabled)"}));
}

TEST_F(KPRefsManagerTest, CompareWithoutAReferenceEnablesEveryLeafWithAnOid) {
  setUsualReferences();
  EXPECT_EQ(picker("compareCommits:", {1, 2}),
            (Lines{"main > compareCommits: #100", "feature {: x > compareCommits: #101}",
                   "v1.0 > compareCommits: #200", "noid #201 (disabled)"}));
}

TEST_F(KPRefsManagerTest, RemoteWithoutBranchesIsALeaf) {
  const auto withOid = std::make_shared<KPRemote>("team/up");
  withOid->setOid(kOid);
  withOid->setTag(302);
  setSections({{}, {}, {}, {nodeOf<KPRemote>("origin"), KPTreeNode::create(withOid)}});
  EXPECT_EQ(picker("deleteBranches:", {3}),
            (Lines{"origin (disabled)", "up > deleteRemoteBranches: #302"}));
}

TEST_F(KPRefsManagerTest, ActionChangesFromTheRemoteSectionOn) {
  setSections({{}, {branch("one")}, {branch("two")}, {branch("three")}});
  struct Case {
    const char* why;
    const char* action;
    Sections sections;
    Lines items;
  };
  const Case cases[] = {
      {"later sections",
       "deleteBranches:",
       {1, 3},
       {"one > deleteBranches:", "three > deleteRemoteBranches:"}},
      {"remotes first",
       "deleteBranches:",
       {3, 1},
       {"three > deleteRemoteBranches:", "one > deleteRemoteBranches:"}},
      {"never earlier ones",
       "renameBranch:",
       {1, 3, 2},
       {"one > renameBranch:", "three > renameRemoteBranch:", "two > renameRemoteBranch:"}},
      {"other actions stay", "merge:", {3, 1}, {"three > merge:", "one > merge:"}},
      {"exact names only", "deleteBranches", {3}, {"three > deleteBranches"}},
  };
  for (const Case& c : cases) EXPECT_EQ(picker(c.action, c.sections), c.items) << c.why;
}

TEST_F(KPRefsManagerTest, ActionChangesAlsoWhenThereAreNoRemotes) {
  setSections({{}, {branch("one")}, {}, {}});
  EXPECT_EQ(picker("deleteBranches:", {3, 1}), Lines{"one > deleteRemoteBranches:"});
  setSections({{}, {branch("one")}});
  EXPECT_EQ(picker("renameBranch:", {3, 1}), Lines{"one > renameRemoteBranch:"});
}

TEST_F(KPRefsManagerTest, ActionChangeEndsWithTheCall) {
  setSections({{}, {branch("one")}, {}, {}});
  picker("deleteBranches:", {3});
  EXPECT_EQ(picker("deleteBranches:", {1}), Lines{"one > deleteBranches:"});
}

TEST_F(KPRefsManagerTest, ChangedActionHasRulesOfItsOwn) {
  const Nodes heads = {makeLeaf({.name = "main", .oid = kOid, .head = true})};
  setSections({{}, heads});
  EXPECT_EQ(picker("deleteBranches:", {1}), Lines{"main (disabled)"});
  EXPECT_EQ(picker("deleteBranches:", {3, 1}), Lines{"main > deleteRemoteBranches:"});
}

TEST_F(KPRefsManagerTest, UnknownSectionNumberIsLoggedAndShowsSectionZero) {
  setSections({{branch("zero")}, {branch("one")}, {}, {}, {branch("four")}, {branch("five")}});
  const std::string line =
      "-[KPRefsManager menuItemWithTitle:reference:action:submenuTypes:hasHeader:] -- "
      "should not get here(1)!";
  for (const std::uint64_t number : {0ULL, 4ULL, 5ULL, 6ULL, 1ULL << 63U, ~0ULL}) {
    events.clear();
    EXPECT_EQ(
        picker("a:", {number, 1}, true),
        (Lines{" (disabled)", "zero > a:", "Local Branches [BranchImage] (disabled)", "one > a:"}))
        << number;
    EXPECT_EQ(log.lines(), Lines{line}) << number;
  }
}

TEST_F(KPRefsManagerTest, KnownSectionNumbersAreNotLogged) {
  setUsualReferences();
  picker("a:", {1, 2, 3}, true);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(KPRefsManagerTest, WorkerAppendsToTheMenu) {
  Menu menu;
  menu.items.emplace_back("first");
  KPRefsManager::addMenuItemsWithAction("a:", nullptr, *makeFolder("f", {branch("x")}), menu);
  KPRefsManager::addMenuItemsWithAction("a:", nullptr, *branch("leaf"), menu);
  EXPECT_EQ(describe(menu), (Lines{"first", "x > a:"}));
}

TEST_F(KPRefsManagerTest, MenusOutliveTheManager) {
  MenuItem item;
  {
    KPRefsManager gone(bundle, log);
    gone.setReferences(Object(makeReferencesTree({{}, {branch("one", 3)}})));
    item = gone.menuItemWithTitle("Pick", nullptr, "a:", {1}, false);
  }
  EXPECT_EQ(describe(item), "Pick {: one > a: #3}");
}

TEST_F(KPRefsManagerTest, DeepestTreeHasAMenuOfEveryLevel) {
  auto node = branch("deepest");
  for (int level = 1; level < KPTreeNode::kMaximumDepth - 2; ++level)
    node = makeFolder("folder", {node});
  setSections({{}, {node}});
  ASSERT_EQ(manager.references()->childNodes().size(), 2U);
  int levels = 0;
  MenuItem item = manager.menuItemWithTitle("Pick", nullptr, "a:", {1}, false);
  while (item.submenu && !item.submenu->items.empty()) {
    item = MenuItem(item.submenu->items.front());
    ++levels;
  }
  EXPECT_EQ(levels, KPTreeNode::kMaximumDepth - 2);
  EXPECT_EQ(item.title, "deepest");
}

TEST_F(KPRefsManagerTest, ATextRepeatedWithoutEndIsNotTaken) {
  RawArchive archive(2, 2);
  const auto text = archive.reference(archive.addString(std::string(100'000, 'x')));
  const auto texts = archive.list.array(std::vector<RawPropertyList::Number>(5'000, text));
  const std::uint32_t list = archive.addObject({"NSArray", "NSObject"}, {{"NS.objects", texts}});
  const std::uint32_t key = archive.addString("gitflow.branch.features");
  const std::uint32_t info =
      archive.addDictionary({key, archive.addString("stashes")}, {list, list});
  const auto bytes = std::make_shared<const Bytes>(archive.finish(info));

  manager.setStashes(Objects{"before"});
  manager.setGitflowInfo(Dictionary{{"gitflow.branch.features", Objects{"before"}}});
  manager.setStashes(KeyedUnarchiver::open(bytes)["stashes"]);
  EXPECT_EQ(manager.stashes(), Lines{"before"});
  EXPECT_EQ(log.lines().size(), 1U);
  manager.setGitflowInfo(KeyedUnarchiver::open(bytes));
  ASSERT_NE(manager.gitflowFeaturesMenu(), nullptr);
  EXPECT_EQ(manager.gitflowFeaturesMenu()->items.size(), 1U);
  EXPECT_EQ(log.lines().size(), 2U);
}

}  // namespace
}  // namespace kelpie
