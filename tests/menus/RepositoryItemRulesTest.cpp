#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MenuFixture.h"
#include "foundation/Dictionary.h"
#include "menus/MenuItemRules.h"
#include "refs/KPRefsManager.h"
#include "support/MenuDescription.h"

namespace kelpie {
namespace {

using Tags = std::vector<std::int64_t>;

// All that are not retired.
const Tags kRepositoryTags = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 13, 14, 15,
                              16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29,
                              30, 31, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44};
// What stands in any repository, whatever is known of it.
const Tags kAlways = {3, 4, 5, 11, 15, 16, 17, 18, 19, 20, 21, 22, 29, 44};

Tags operator+(Tags tags, const Tags& more) {
  tags.insert(tags.end(), more.begin(), more.end());
  std::ranges::sort(tags);
  return tags;
}

class RepositoryItemRules : public testing::Test {
 protected:
  static std::optional<MenuItem> build(MenuFixture& fixture, std::int64_t tag,
                                       const KPRepository* repository, bool canCreate = false) {
    return MenuItemRules(fixture.host, fixture.system.log)
        .menuItemForMenuItemTag(tag, repository, canCreate, Selection{});
  }
  static Tags shown(MenuFixture& fixture, const KPRepository* repository, bool canCreate = false) {
    Tags tags;
    std::ranges::copy_if(kRepositoryTags, std::back_inserter(tags), [&](std::int64_t tag) {
      return build(fixture, tag, repository, canCreate).has_value();
    });
    return tags;
  }

  MenuFixture fixture_;
};

Object gitflow(std::string_view key, const Object& branches) {
  return Dictionary{{"gitflow.branch." + std::string(key), branches}};
}

TEST_F(RepositoryItemRules, EveryTagInEveryState) {
  struct State {
    const char* what;
    std::function<void(KPRepository&)> set;
    Tags want;
  };
  const Tags rest = kAlways + Tags{6, 8, 9, 10};
  const State states[] = {
      {"nothing is known", [](KPRepository&) {}, rest},
      {"bare", [](KPRepository& r) { r.refsManager()->setBare(true); }, kAlways},
      {"in the middle of something", [](KPRepository& r) { r.setState(1); }, kAlways + Tags{6}},
      {"a negative state", [](KPRepository& r) { r.setState(-1); }, kAlways + Tags{6}},
      {"bare, in the middle of something",
       [](KPRepository& r) {
         r.refsManager()->setBare(true);
         r.setState(2);
       },
       kAlways},
      {"dirty", [](KPRepository& r) { r.setDirty(true); }, rest + Tags{7}},
      {"really dirty", [](KPRepository& r) { r.setRealDirty(true); }, rest},
      {"bare and dirty",
       [](KPRepository& r) {
         r.refsManager()->setBare(true);
         r.setDirty(true);
       },
       kAlways + Tags{7}},
      {"a stash", [](KPRepository& r) { r.refsManager()->setStashes(Objects{"WIP"}); },
       rest + Tags{13, 14}},
      {"no stash", [](KPRepository& r) { r.refsManager()->setStashes(Objects{}); }, rest},
      {"a commit", [](KPRepository& r) { r.refsManager()->setHasHeadCommit(true); }, rest},
      {"disabled", [](KPRepository& r) { r.setDisabled(true); }, rest},
      {"Git-LFS", [](KPRepository& r) { r.refsManager()->setHasGitlfs(true); },
       rest + Tags{40, 41, 42}},
      {"Git-Flow", [](KPRepository& r) { r.refsManager()->setGitflowInfo(Dictionary{}); },
       rest + Tags{34, 36, 38}},
      {"a feature",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("features", Objects{"a"})); },
       rest + Tags{34, 35, 36, 38}},
      {"a release",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("releases", Objects{"a"})); },
       rest + Tags{34, 37, 38}},
      {"a hotfix",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("hotfixes", Objects{"a"})); },
       rest + Tags{34, 36, 39}},
      {"no feature",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("features", Objects{})); },
       rest + Tags{34, 36, 38}},
      {"no release",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("releases", Objects{})); },
       rest + Tags{34, 36, 38}},
      {"no hotfix",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("hotfixes", Objects{})); },
       rest + Tags{34, 36, 38}},
      {"a release that is no list",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo(gitflow("releases", 1)); },
       rest + Tags{34, 36, 38}},
      {"Git-Flow that is no dictionary",
       [](KPRepository& r) { r.refsManager()->setGitflowInfo("gitflow"); }, rest},
  };
  for (const State& state : states) {
    MenuFixture fixture;
    state.set(*fixture.repository);
    EXPECT_EQ(shown(fixture, fixture.repository.get()), state.want) << state.what;
  }
}

TEST_F(RepositoryItemRules, EveryKindOfReferenceBringsItsItems) {
  fixture_.addReferences(*fixture_.repository);
  const Tags rest = kAlways + Tags{6, 8, 9, 10};
  const Tags brought = Tags{13, 14} + Tags{23, 24, 25, 26, 27, 28} + Tags{30, 31} +
                       Tags{34, 35, 37, 39} + Tags{40, 41, 42} + Tags{43};
  EXPECT_EQ(shown(fixture_, fixture_.repository.get()), rest + brought);
}

TEST_F(RepositoryItemRules, WithoutARepositoryOneCanAtMostBeMade) {
  EXPECT_EQ(shown(fixture_, nullptr), Tags{});
  EXPECT_EQ(shown(fixture_, nullptr, true), (Tags{1, 2}));
}

TEST_F(RepositoryItemRules, ABareRepositoryHasNoWorkingCopyToChange) {
  fixture_.repository->refsManager()->setBare(true);
  const Tags tags = shown(fixture_, fixture_.repository.get());
  for (const std::int64_t tag : {6, 8, 9, 10}) EXPECT_EQ(std::ranges::count(tags, tag), 0) << tag;
  for (const std::int64_t tag : {15, 16, 17, 18, 19, 20, 21, 44})
    EXPECT_EQ(std::ranges::count(tags, tag), 1) << tag;
}

TEST_F(RepositoryItemRules, ARepositoryInAStateCanOnlyCheckOut) {
  fixture_.repository->setState(3);
  const Tags tags = shown(fixture_, fixture_.repository.get());
  for (const std::int64_t tag : {8, 9, 10}) EXPECT_EQ(std::ranges::count(tags, tag), 0) << tag;
  EXPECT_EQ(std::ranges::count(tags, 6), 1);
}

TEST_F(RepositoryItemRules, OneReleaseIsFinishedBeforeTheNextIsStarted) {
  fixture_.repository->refsManager()->setGitflowInfo(gitflow("releases", Objects{"release/1"}));
  EXPECT_FALSE(build(fixture_, 36, fixture_.repository.get()));
  EXPECT_EQ(describe(build(fixture_, 37, fixture_.repository.get())),
            "Finish Git-Flow Release {: release/1 > finishGitflowRelease:}");
  EXPECT_TRUE(build(fixture_, 34, fixture_.repository.get()));
}

TEST_F(RepositoryItemRules, WhatEveryTagIsMadeOf) {
  fixture_.addReferences(*fixture_.repository);
  fixture_.repository->setDirty(true);
  struct Row {
    std::int64_t tag;
    std::string_view want;
  };
  const Row rows[] = {
      {1, "Clone… > clone:"},
      {2, "Create… > createRepository:"},
      {3, "Browser… > showBrowser:"},
      {4, "Settings… > showSettings:"},
      {5, "Commit… > commit:"},
      {6, "Checkout {: main #11 (on) (disabled) | topic > checkout: #12}"},
      {7, "Discard All Changes… > discardAll:"},
      {8,
       "Reset to {: Remote Branches [BranchImage] (disabled) | origin {: main > reset: #31 (on)} "
       "| Local Branches [BranchImage] (disabled) | main #11 (disabled) | topic > reset: #12 | "
       "Tags [TagImage] (disabled) | v1 > reset: #21}"},
      {9,
       "Merge With {: Remote Branches [BranchImage] (disabled) | "
       "origin {: main > merge: #31 (on)} | Local Branches [BranchImage] (disabled) | "
       "main #11 (disabled) | topic > merge: #12 | Tags [TagImage] (disabled) | "
       "v1 > merge: #21}"},
      {10,
       "Rebase Onto {: Remote Branches [BranchImage] (disabled) | "
       "origin {: main > rebase: #31 (on)} | Local Branches [BranchImage] (disabled) | "
       "main #11 (disabled) | topic > rebase: #12 | Tags [TagImage] (disabled) | "
       "v1 > rebase: #21}"},
      {11, "Apply Patch… > applyPatch:"},
      {13, "Apply Stash {: WIP > applyStash:}"},
      {14, "Delete Stash {: WIP > deleteStashes:}"},
      {15,
       "Rename Branch {: Local Branches [BranchImage] (disabled) | main > renameBranch: #11 | "
       "topic > renameBranch: #12 | Remote Branches [BranchImage] (disabled) | "
       "origin {: main > renameRemoteBranch: #31}}"},
      {16,
       "Delete Branch {: Local Branches [BranchImage] (disabled) | main #11 (disabled) | "
       "topic > deleteBranches: #12 | Remote Branches [BranchImage] (disabled) | "
       "origin {: main > deleteRemoteBranches: #31}}"},
      {17,
       "New Branch from {: Local Branches [BranchImage] (disabled) | main > createBranch: #11 | "
       "topic > createBranch: #12 | Remote Branches [BranchImage] (disabled) | "
       "origin {: main > createBranch: #31} | Tags [TagImage] (disabled) | "
       "v1 > createBranch: #21}"},
      {18, "New Tag from {: main > createTag: #11 | topic > createTag: #12}"},
      {19, "Delete Tag {: v1 > deleteTags: #21}"},
      {20,
       "Export… {: Local Branches [BranchImage] (disabled) | main > exportCommits: #11 | "
       "topic > exportCommits: #12 | Remote Branches [BranchImage] (disabled) | "
       "origin {: main > exportCommits: #31} | Tags [TagImage] (disabled) | "
       "v1 > exportCommits: #21}"},
      {21,
       "Compare… {: Local Branches [BranchImage] (disabled) | main > compareCommits: #11 | "
       "topic > compareCommits: #12 | Remote Branches [BranchImage] (disabled) | "
       "origin {: main > compareCommits: #31} | Tags [TagImage] (disabled) | "
       "v1 > compareCommits: #21}"},
      {22, "Add Remote… > addRemote:"},
      {23, "Delete Remote {: origin > deleteRemotes:}"},
      {24, "Settings for Remote {: origin > showRemoteSettings:}"},
      {25, "Fetch… {: origin > fetch: | Fetch All Remotes > fetch: #-1}"},
      {26, "Prune Remote {: origin > prune: | Prune All Remotes > prune: #-1}"},
      {27, "Pull {: origin {: main > pull: #31 (on)}}"},
      {28,
       "Push {: Local Branches [BranchImage] (disabled) | main > push: #11 | topic > push: #12 | "
       "Tags [TagImage] (disabled) | v1 > push: #21}"},
      {29, "Add Submodule… > addSubmodule:"},
      {30, "Delete Submodule {: lib > deleteSubmodules:}"},
      {31, "Settings for Submodule {: lib > showSubmoduleSettings:}"},
      {34, "Start Git-Flow Feature… > startGitflowFeature:"},
      {35, "Finish Git-Flow Feature {: feature/a > finishGitflowFeature:}"},
      {36, "(none)"},
      {37, "Finish Git-Flow Release {: release/1 > finishGitflowRelease:}"},
      {38, "(none)"},
      {39, "Finish Git-Flow Hotfix {: hotfix/2 > finishGitflowHotfix:}"},
      {40, "Git-LFS Fetch > lfsFetch:"},
      {41, "Git-LFS Push > lfsPush:"},
      {42, "Git-LFS Prune > lfsPrune:"},
      {43, "New Pull Request… {: fix > createPullRequest:}"},
      {44, "Fast-Forward {: main to \"origin/main\" > fastForward: #11 | topic #12 (disabled)}"},
  };
  ASSERT_EQ(std::size(rows), kRepositoryTags.size());
  for (const Row& row : rows)
    EXPECT_EQ(describe(build(fixture_, row.tag, fixture_.repository.get(), true)), row.want);
  fixture_.repository->refsManager()->setGitflowInfo(Dictionary{});
  EXPECT_EQ(describe(build(fixture_, 36, fixture_.repository.get())),
            "Start Git-Flow Release… > startGitflowRelease:");
  EXPECT_EQ(describe(build(fixture_, 38, fixture_.repository.get())),
            "Start Git-Flow Hotfix… > startGitflowHotfix:");
  EXPECT_TRUE(fixture_.system.log.lines().empty());
}

// What a tag does to the object that an earlier menu has left for its action.
TEST_F(RepositoryItemRules, WhatEveryTagLeavesForItsAction) {
  fixture_.addReferences(*fixture_.repository);
  fixture_.repository->setDirty(true);
  fixture_.host.setTargetURLs(MenuFixture::urls({"/repo/a", "/repo/b"}));
  struct Row {
    std::int64_t tag;
    std::string_view action;
    std::string_view want;  // names of the object; "former" for what was there before
  };
  const Row rows[] = {
      {1, "clone:", "(nil)"},
      {2, "createRepository:", "(nil)"},
      {3, "showBrowser:", "(nil)"},
      {4, "showSettings:", "(nil)"},
      {5, "commit:", "a b"},
      {6, "checkout:", "former"},
      {7, "discardAll:", "(nil)"},
      {8, "reset:", "former"},
      {9, "merge:", "former"},
      {10, "rebase:", "former"},
      {11, "applyPatch:", "(nil)"},
      {13, "applyStash:", "former"},
      {14, "deleteStashes:", "former"},
      {15, "renameBranch:", "former"},
      {16, "deleteBranches:", "former"},
      {17, "createBranch:", "former"},
      {18, "createTag:", "former"},
      {19, "deleteTags:", "former"},
      {20, "exportCommits:", "former"},
      {21, "compareCommits:", "former"},
      {22, "addRemote:", "(nil)"},
      {23, "deleteRemotes:", "former"},
      {24, "showRemoteSettings:", "former"},
      {25, "fetch:", "former"},
      {26, "prune:", "former"},
      {27, "pull:", "former"},
      {28, "push:", "former"},
      {29, "addSubmodule:", "(nil)"},
      {30, "deleteSubmodules:", "former"},
      {31, "showSubmoduleSettings:", "former"},
      {34, "startGitflowFeature:", "(nil)"},
      {35, "finishGitflowFeature:", "former"},
      {36, "startGitflowRelease:", "former"},  // a release is open: no item
      {37, "finishGitflowRelease:", "former"},
      {38, "startGitflowHotfix:", "former"},  // a hotfix is open: no item
      {39, "finishGitflowHotfix:", "former"},
      {40, "lfsFetch:", "(nil)"},
      {41, "lfsPush:", "(nil)"},
      {42, "lfsPrune:", "(nil)"},
      {43, "createPullRequest:", "former"},
      {44, "fastForward:", "former"},
  };
  ASSERT_EQ(std::size(rows), kRepositoryTags.size());
  SenderObjects& objects = fixture_.host.senderObjects();
  for (const Row& row : rows) {
    objects.set(row.action, MenuFixture::list({"/former"}));
    build(fixture_, row.tag, fixture_.repository.get(), true);
    EXPECT_EQ(namesOf(objects.objectForAction(row.action)), row.want) << row.tag;
  }
}

TEST_F(RepositoryItemRules, NothingIsLeftForTheActionsOnRemoteBranches) {
  fixture_.addReferences(*fixture_.repository);
  ASSERT_TRUE(build(fixture_, 16, fixture_.repository.get()));
  EXPECT_TRUE(fixture_.host.senderObjects().objectForAction("deleteRemoteBranches:").isNil());
}

TEST_F(RepositoryItemRules, AnItemStartsEnabledAndWithoutItsTag) {
  fixture_.repository->setDisabled(true);
  const std::optional<MenuItem> item = build(fixture_, 3, fixture_.repository.get());
  ASSERT_TRUE(item);
  EXPECT_TRUE(item->enabled);
  EXPECT_EQ(item->tag, 0);
  EXPECT_EQ(item->state, 0);
  EXPECT_TRUE(item->keyEquivalent.empty());
}

TEST_F(RepositoryItemRules, EntriesForAllAreNotLeftInTheListOfRemotes) {
  fixture_.addReferences(*fixture_.repository);
  ASSERT_TRUE(build(fixture_, 25, fixture_.repository.get()));
  EXPECT_EQ(describe(build(fixture_, 23, fixture_.repository.get())),
            "Delete Remote {: origin > deleteRemotes:}");
}

}  // namespace
}  // namespace kelpie
