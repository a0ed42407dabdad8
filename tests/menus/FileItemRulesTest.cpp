#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "MenuFixture.h"
#include "menus/MenuItemRules.h"
#include "support/MenuDescription.h"

namespace kelpie {
namespace {

class FileItemRules : public testing::Test {
 protected:
  std::optional<MenuItem> build(std::int64_t tag, const Selection& selection) {
    return MenuItemRules(fixture_.host, fixture_.system.log)
        .menuItemForMenuItemTag(tag, repository_, false, selection);
  }
  std::string built(std::int64_t tag, const Selection& selection) {
    return describe(build(tag, selection));
  }
  std::string sent(std::string_view action) {
    return namesOf(fixture_.host.senderObjects().objectForAction(action));
  }

  // Each list has items of its own, so that a rule that looks at the wrong one shows.
  static Selection one() {
    return {.staged = MenuFixture::list({"/repo/staged"}),
            .unstaged = MenuFixture::list({"/repo/unstaged"}),
            .diffable = MenuFixture::list({"/repo/diffable"}),
            .discardable = MenuFixture::list({"/repo/discardable"}),
            .revertable = MenuFixture::list({"/repo/revertable"}),
            .tracked = MenuFixture::list({"/repo/tracked"}),
            .conflicted = MenuFixture::list({"/repo/conflicted"})};
  }
  static Selection several() {
    return {.staged = MenuFixture::list({"/repo/s1", "/repo/s2"}),
            .unstaged = MenuFixture::list({"/repo/u1", "/repo/u2", "/repo/u3"}),
            .diffable = MenuFixture::list({"/repo/d1", "/repo/d2", "/repo/d3", "/repo/d4"}),
            .discardable = Objects(5, MenuFixture::list({"/repo/x"}).at(0)),
            .revertable = Objects(6, MenuFixture::list({"/repo/r"}).at(0)),
            .tracked = Objects(7, MenuFixture::list({"/repo/t"}).at(0)),
            .conflicted = Objects(8, MenuFixture::list({"/repo/c"}).at(0))};
  }

  MenuFixture fixture_;
  const KPRepository* repository_ = fixture_.repository.get();
};

constexpr std::string_view kResolveMenu =
    " {: Mark as Resolved > resolve: | Resolve Using Ours > resolve: #1 | "
    "Resolve Using Theirs > resolve: #2 | Resolve Using Ancestor > resolve: #3 | "
    "Show Details… > resolve: #5}";
constexpr std::string_view kRestoreMenu =
    " {: Restore Unmerged > restore: | Restore Using Ours > restore: #1 | "
    "Restore Using Theirs > restore: #2 | Restore Using Ancestor > restore: #3}";

TEST_F(FileItemRules, EveryTagWithOneItemWithSeveralAndWithNone) {
  fixture_.repository->setRealDirty(true);
  struct Row {
    std::int64_t tag;
    std::string one;
    std::string several;
    std::string none = "(none)";
  };
  const Row rows[] = {
      {-1, "Stage \"unstaged\" > stage:", "Stage 3 Files > stage:"},
      {-2, "Unstage \"staged\" > unstage:", "Unstage 2 Files > unstage:"},
      {-3, "See Changes in \"diffable\"… > diff:", "See Changes in 4 Files… > diff:"},
      {-4,
       "Discard Changes in \"discardable\"… > discard:", "Discard Changes in 5 Files… > discard:"},
      {-5, "Blame \"revertable\"… > blameItems:", "Blame 6 Files… > blameItems:"},
      {-6, "History for \"revertable\"… > historyItems:", "History for 6 Files… > historyItems:"},
      {-7, "Revert \"revertable\" {: }", "Revert 6 Files {: }"},
      {-8, "Ignore \"tracked\" > ignoreItems:", "Ignore 7 Files > ignoreItems:"},
      {-9, "Exclude \"tracked\" > excludeItems:", "Exclude 7 Files > excludeItems:"},
      {-10, "Untrack \"tracked\" > untrackItems:", "Untrack 7 Files > untrackItems:"},
      {-11, "Resolve \"conflicted\" > resolve:" + std::string(kResolveMenu),
       "Resolve 8 Files > resolve:" + std::string(kResolveMenu)},
      {-12, "Restore \"conflicted\" > restore:" + std::string(kRestoreMenu),
       "Restore 8 Files > restore:" + std::string(kRestoreMenu)},
      {-13, "(none)", "(none)"},  // something is conflicted
      {-14, "Stash \"diffable\"… > saveStash:", "Stash 4 Files… > saveStash:",
       "Stash Files… > saveStash:"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(built(row.tag, one()), row.one) << row.tag;
    EXPECT_EQ(built(row.tag, several()), row.several) << row.tag;
    EXPECT_EQ(built(row.tag, Selection{}), row.none) << row.tag;
  }
  EXPECT_TRUE(fixture_.system.log.lines().empty());
}

TEST_F(FileItemRules, EveryTagHandsItsListToItsAction) {
  fixture_.repository->setRealDirty(true);
  struct Row {
    std::int64_t tag;
    std::string_view action;
    std::string_view names;
  };
  const Row rows[] = {
      {-1, "stage:", "unstaged"},         {-2, "unstage:", "staged"},
      {-3, "diff:", "diffable"},          {-4, "discard:", "discardable"},
      {-5, "blameItems:", "revertable"},  {-6, "historyItems:", "revertable"},
      {-7, "revertItems:", "revertable"}, {-8, "ignoreItems:", "tracked"},
      {-9, "excludeItems:", "tracked"},   {-10, "untrackItems:", "tracked"},
      {-11, "resolve:", "conflicted"},    {-12, "restore:", "conflicted"},
      {-14, "saveStash:", "diffable"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(sent(row.action), "(nil)") << row.tag;
    ASSERT_TRUE(build(row.tag, one())) << row.tag;
    EXPECT_EQ(sent(row.action), row.names) << row.tag;
  }
}

TEST_F(FileItemRules, AnItemThatDoesNotApplyLeavesWhatItsActionHad) {
  constexpr std::string_view kActions[] = {
      "stage:",        "unstage:",     "diff:",         "discard:",      "blameItems:",
      "historyItems:", "revertItems:", "ignoreItems:",  "excludeItems:", "untrackItems:",
      "resolve:",      "restore:",     "externalDiff:", "saveStash:"};
  for (const std::string_view action : kActions)
    fixture_.host.senderObjects().set(action, MenuFixture::list({"/former"}));
  for (std::int64_t tag = -1; tag >= -14; --tag) EXPECT_FALSE(build(tag, Selection{})) << tag;
  for (const std::string_view action : kActions) EXPECT_EQ(sent(action), "former") << action;
}

TEST_F(FileItemRules, OneStagedFileIsUnstagedByItsName) {
  const Selection selection{.staged = MenuFixture::list({"/repo/a.txt"})};
  EXPECT_EQ(built(-2, selection), "Unstage \"a.txt\" > unstage:");
  EXPECT_EQ(sent("unstage:"), "a.txt");
  EXPECT_FALSE(build(-1, selection));
}

TEST_F(FileItemRules, ThreeUnstagedFilesAreCounted) {
  const Selection selection{.unstaged = MenuFixture::list({"/repo/a", "/repo/b", "/repo/c"})};
  EXPECT_EQ(built(-1, selection), "Stage 3 Files > stage:");
  EXPECT_EQ(sent("stage:"), "a b c");
}

TEST_F(FileItemRules, APlaceholderIsNamedLikeTheDeletedFile) {
  const Selection selection{.unstaged = MenuFixture::list({"/repo/b.txt \x0e.kelpieDeleted"})};
  EXPECT_EQ(built(-1, selection), "Stage \"b.txt\" > stage:");
  EXPECT_EQ(sent("stage:"), "b.txt \x0e.kelpieDeleted") << "the object is the placeholder itself";
}

TEST_F(FileItemRules, AnExternalDiffWantsOneDiffableFileAndNoConflict) {
  struct Case {
    const char* why;
    Selection selection;
    std::string_view want;
  };
  const Case cases[] = {
      {"one file",
       {.diffable = MenuFixture::list({"/repo/a"})},
       "External Diff for \"a\"… > externalDiff:"},
      {"two files", {.diffable = MenuFixture::list({"/repo/a", "/repo/b"})}, "(none)"},
      {"no file", {}, "(none)"},
      {"a conflict beside it",
       {.diffable = MenuFixture::list({"/repo/a"}), .conflicted = MenuFixture::list({"/repo/c"})},
       "(none)"},
      {"the file itself is the conflict",
       {.diffable = MenuFixture::list({"/repo/a"}), .conflicted = MenuFixture::list({"/repo/a"})},
       "(none)"},
  };
  for (const Case& c : cases) EXPECT_EQ(built(-13, c.selection), c.want) << c.why;
}

TEST_F(FileItemRules, AnExternalDiffHandsOverTheFileByName) {
  ASSERT_TRUE(build(-13, {.diffable = MenuFixture::list({"/repo/a"})}));
  const Object object = fixture_.host.senderObjects().objectForAction("externalDiff:");
  EXPECT_TRUE(object.isDictionary());
  EXPECT_EQ(object.size(), 1U);
  ASSERT_TRUE(object["file"].url());
  EXPECT_EQ(object["file"].url()->path(), "/repo/a");
}

TEST_F(FileItemRules, WithNothingDiffableSelectedAllIsStashed) {
  fixture_.repository->setRealDirty(true);
  for (const Object& nothing : {Object(), Object(Objects{})}) {
    fixture_.host.senderObjects().set("saveStash:", MenuFixture::list({"/former"}));
    EXPECT_EQ(built(-14, {.diffable = nothing}), "Stash Files… > saveStash:");
    EXPECT_EQ(sent("saveStash:"), "(nil)");
  }
}

TEST_F(FileItemRules, StashingHangsOnTheRepositoryBeingReallyDirty) {
  fixture_.repository->setDirty(true);  // new files only
  EXPECT_FALSE(build(-14, one()));
  fixture_.repository->setDirty(false);
  fixture_.repository->setRealDirty(true);
  EXPECT_TRUE(build(-14, one()));
  repository_ = nullptr;
  EXPECT_FALSE(build(-14, one()));
}

TEST_F(FileItemRules, WithoutACommonAncestorItsEntriesAreDisabled) {
  Selection selection = one();
  selection.hasAncestor = false;
  EXPECT_EQ(built(-12, selection),
            "Restore \"conflicted\" > restore: {: Restore Unmerged > restore: | "
            "Restore Using Ours > restore: #1 | Restore Using Theirs > restore: #2 | "
            "Restore Using Ancestor > restore: #3 (disabled)}");
  EXPECT_EQ(built(-11, selection),
            "Resolve \"conflicted\" > resolve: {: Mark as Resolved > resolve: | "
            "Resolve Using Ours > resolve: #1 | Resolve Using Theirs > resolve: #2 | "
            "Resolve Using Ancestor > resolve: #3 (disabled) | Show Details… > resolve: #5}");
}

TEST_F(FileItemRules, RevertingPicksARevisionAndHasNoActionOfItsOwn) {
  fixture_.addReferences(*fixture_.repository);
  EXPECT_EQ(built(-7, one()),
            "Revert \"revertable\" {: Remote Branches [BranchImage] (disabled) | "
            "origin {: main > revertItems: #31} | Local Branches [BranchImage] (disabled) | "
            "main > revertItems: #11 | topic > revertItems: #12 | Tags [TagImage] (disabled) | "
            "v1 > revertItems: #21}");
}

TEST_F(FileItemRules, RevertingLeavesItsListEvenWhenThereIsNoItem) {
  repository_ = nullptr;
  EXPECT_FALSE(build(-7, one()));
  EXPECT_EQ(sent("revertItems:"), "revertable");
}

TEST_F(FileItemRules, AFileNameIsNoFormat) {
  fixture_.repository->setRealDirty(true);
  const Object urls = MenuFixture::list({"/repo/100%@ %lu %s"});
  const Selection selection{urls, urls, urls, urls, urls, urls, {}};
  for (std::int64_t tag = -1; tag >= -14; --tag) {
    if (tag == -11 || tag == -12) continue;  // nothing is conflicted
    const std::optional<MenuItem> item = build(tag, selection);
    ASSERT_TRUE(item) << tag;
    EXPECT_NE(item->title.find("\"100%@ %lu %s\""), std::string::npos) << item->title;
  }
}

}  // namespace
}  // namespace kelpie
