#include "menus/MenuAssembly.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MenuFixture.h"
#include "foundation/Dictionary.h"
#include "protocol/MessageKeys.h"
#include "settings/SettingsKeys.h"
#include "support/MenuDescription.h"

namespace kelpie {
namespace {

using Lines = std::vector<std::string>;
using enum FIMenuKind;
using namespace std::string_view_literals;

constexpr FIMenuKind kItems = ContextualMenuForItems;

class MenuAssemblyTest : public testing::Test {
 protected:
  std::optional<Menu> menu(FIMenuKind kind = kItems) {
    return MenuAssembly(fixture_.host, fixture_.system.platform(), fixture_.settings)
        .menuForMenuKind(kind);
  }
  Lines lines(FIMenuKind kind = kItems) {
    const std::optional<Menu> made = menu(kind);
    return made ? describe(*made) : Lines{"(nil)"};
  }
  // Selects the items, which need not exist.
  void select(std::initializer_list<std::string_view> paths) {
    fixture_.system.finder.select(MenuFixture::urls(paths), std::nullopt);
  }
  // The user's choice for the contextual menus, root only.
  void choose(std::string_view groupKey, Objects tags) {
    fixture_.system.groupDefaults().changeFromOutside(
        kContextualMenuItemsKey,
        Dictionary{{kRootMenuItemsKey, Dictionary{{groupKey, std::move(tags)}}}});
  }
  std::string targets() {
    const std::vector<URL>& urls = fixture_.host.targetURLs();
    return namesOf(Objects(urls.begin(), urls.end()));
  }

  MenuFixture fixture_;
  FakeMenuHost& host_ = fixture_.host;
  FakeFileSystem& files_ = *fixture_.system.files;
};

// -- The application, and the kinds of menu -------------------------------------------------------

TEST_F(MenuAssemblyTest, WhileTheApplicationIsGoneOnlyTheToolbarSaysSo) {
  host_.pid = -1;
  select({"/repo"});
  EXPECT_EQ(lines(ToolbarItemMenu), Lines{"Kelpie is not running (disabled)"});
  EXPECT_EQ(menu(ToolbarItemMenu)->title, "");
  for (const FIMenuKind kind :
       {ContextualMenuForItems, ContextualMenuForContainer, ContextualMenuForSidebar,
        static_cast<FIMenuKind>(4), static_cast<FIMenuKind>(~0ULL)})
    EXPECT_FALSE(menu(kind));
  EXPECT_TRUE(host_.sent.empty());
}

TEST_F(MenuAssemblyTest, BeforeTheFirstCheckTheApplicationCountsAsPresent) {
  host_.pid = 0;
  choose(kAppMenuItemsKey, {1005});
  EXPECT_EQ(lines(), (Lines{kApplicationHeader, "Quit > quit:"}));
}

TEST_F(MenuAssemblyTest, TheSidebarAndUnknownKindsHaveNoMenu) {
  select({"/repo"});
  for (const FIMenuKind kind :
       {ContextualMenuForSidebar, static_cast<FIMenuKind>(4), static_cast<FIMenuKind>(~0ULL)})
    EXPECT_FALSE(menu(kind));
  EXPECT_TRUE(host_.sent.empty());
}

TEST_F(MenuAssemblyTest, WithoutAMenuTheTargetsStay) {
  host_.setTargetURLs(MenuFixture::urls({"/former"}));
  select({"/repo"});
  EXPECT_FALSE(menu(ContextualMenuForSidebar));
  EXPECT_EQ(targets(), "former");
  EXPECT_FALSE(menu(static_cast<FIMenuKind>(9)));
  EXPECT_EQ(targets(), "former");
  host_.pid = -1;
  EXPECT_FALSE(menu(kItems));
  EXPECT_EQ(targets(), "former");
  EXPECT_TRUE(menu(ToolbarItemMenu));
  EXPECT_EQ(targets(), "former");
}

TEST_F(MenuAssemblyTest, EachKindHasItsItemList) {
  const auto list = [](std::int64_t tag) {
    return Dictionary{{kRootMenuItemsKey, Dictionary{{kAppMenuItemsKey, Objects{tag}}}}};
  };
  fixture_.system.groupDefaults().changeFromOutside(kContextualMenuItemsKey, list(1000));
  fixture_.system.groupDefaults().changeFromOutside(kToolbarItemMenuItemsKey, list(1001));
  const Lines contextual = {kApplicationHeader, "About Kelpie > showAboutPanel:"};
  EXPECT_EQ(lines(ContextualMenuForItems), contextual);
  EXPECT_EQ(lines(ContextualMenuForContainer), contextual);
  EXPECT_EQ(lines(ToolbarItemMenu), (Lines{kApplicationHeader, "Preferences… > showPreferences:"}));
}

TEST_F(MenuAssemblyTest, WithoutSettingsTheMenuIsEmpty) {
  fixture_.system.entitlements.values.clear();
  select({"/repo"});
  EXPECT_EQ(lines(), Lines{});
  EXPECT_EQ(targets(), "repo");
  EXPECT_EQ(host_.sent.size(), 1U);
}

TEST_F(MenuAssemblyTest, AStoredListOfAnotherClassIsEmpty) {
  select({"/repo"});
  for (const Object& stored : {Object(17), Object("list"), Object(Objects{1, 2})}) {
    fixture_.system.groupDefaults().changeFromOutside(kContextualMenuItemsKey, stored);
    EXPECT_EQ(lines(), Lines{});
  }
}

// -- Targets --------------------------------------------------------------------------------------

TEST_F(MenuAssemblyTest, OnABackgroundTheFolderIsTheOnlyTarget) {
  fixture_.system.finder.select({}, URL::fileURLWithPath("/repo"));
  menu(ContextualMenuForContainer);
  EXPECT_EQ(targets(), "repo");
  EXPECT_EQ(host_.sent.size(), 1U);
}

TEST_F(MenuAssemblyTest, TheSelectionComesBeforeTheFolder) {
  fixture_.system.finder.select(MenuFixture::urls({"/repo/b", "/repo/a"}),
                                URL::fileURLWithPath("/repo"));
  menu();
  EXPECT_EQ(targets(), "b a");
}

TEST_F(MenuAssemblyTest, WithoutTargetsTheMenuIsEmpty) {
  host_.setTargetURLs(MenuFixture::urls({"/former"}));
  EXPECT_EQ(lines(ToolbarItemMenu), Lines{});
  EXPECT_EQ(targets(), "");
  EXPECT_TRUE(host_.sent.empty());
}

// -- Repository and canCreate ---------------------------------------------------------------------

TEST_F(MenuAssemblyTest, AFolderOutsideCanBecomeARepository) {
  files_.addFolder("/outside");
  select({"/outside"});
  EXPECT_EQ(lines(), (Lines{kRepositoryHeader, "Clone… > clone:", "Create… > createRepository:"}));
  EXPECT_TRUE(host_.sent.empty());
}

TEST_F(MenuAssemblyTest, WhatElseCanBecomeARepository) {
  files_.addPackage("/package");
  files_.addFolder("/folder");
  files_.addFolder("/other");
  files_.addLink("/link", "/folder");
  files_.addFile("/file");
  struct Case {
    const char* why;
    std::vector<URL> targets;
    bool want;
  };
  const Case cases[] = {
      {"a file", MenuFixture::urls({"/file"}), false},
      {"a package is a directory", MenuFixture::urls({"/package"}), true},
      {"a link to a folder is none", MenuFixture::urls({"/link"}), false},
      {"nothing there", MenuFixture::urls({"/gone"}), false},
      {"two folders", MenuFixture::urls({"/folder", "/other"}), false},
      {"no file URL", {*URL::fromString("http://example.com/folder")}, false},
  };
  for (const Case& c : cases) {
    fixture_.system.finder.select(c.targets, std::nullopt);
    EXPECT_EQ(lines().size(), c.want ? 3U : 0U) << c.why;
  }
}

TEST_F(MenuAssemblyTest, InsideARepositoryNoneCanBeMade) {
  files_.addFolder("/repo/folder");
  choose(kRepoMenuItemsKey, {1, 2, 3});
  select({"/repo/folder"});
  EXPECT_EQ(lines(), (Lines{kRepositoryHeader, "Browser… > showBrowser:"}));
}

TEST_F(MenuAssemblyTest, OneMessagePerMenuTellsOfTheRepository) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x0100}, {"/repo/b", 0x0100}});
  select({"/repo/a", "/repo/b"});
  menu();
  ASSERT_EQ(host_.sent.size(), 1U);
  const FakeMenuHost::Message& message = host_.sent[0];
  EXPECT_EQ(message.id, 1);
  EXPECT_EQ(message.dictionary.size(), 2U);
  EXPECT_EQ(message.dictionary["KPMessageSelector"sv].stringValue(), "unshallowRepository:");
  EXPECT_TRUE(message.dictionary["KPMessageArgument"sv].isEqual(
      Object::orNil(fixture_.repository->identifier())));
  menu();
  EXPECT_EQ(host_.sent.size(), 2U);
}

TEST_F(MenuAssemblyTest, TheMessageGoesOutAlsoWhenTheMenuEndsUpEmpty) {
  choose(kRepoMenuItemsKey, {7});
  select({"/repo"});
  EXPECT_EQ(lines(), Lines{});
  EXPECT_EQ(host_.sent.size(), 1U);
}

TEST_F(MenuAssemblyTest, TheMessageGoesOutBeforeTheItemsAreBuilt) {
  choose(kRepoMenuItemsKey, {12});  // is logged when it is built
  select({"/repo"});
  fixture_.system.groupDefaults();
  fixture_.settings.sharedApplicationGroupDefaults();
  choose(kRepoMenuItemsKey, {12});
  fixture_.system.events.clear();
  menu();
  EXPECT_EQ(fixture_.system.events.lines(),
            (Lines{"host.send 1 unshallowRepository:", "log Should not get here!!!",
                   "log Should not get here!!!"}));
}

TEST_F(MenuAssemblyTest, ASelectionOverSeveralRepositoriesHasNone) {
  fixture_.open("/other");
  choose(kRepoMenuItemsKey, {1, 2, 3});
  select({"/repo", "/other"});
  EXPECT_EQ(lines(), Lines{});
  EXPECT_TRUE(host_.sent.empty());
}

TEST_F(MenuAssemblyTest, TargetsOutsideDoNotCount) {
  files_.addFolder("/outside");
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x0100}});
  choose(kFileMenuItemsKey, {-1});
  select({"/outside", "/repo/a"});
  EXPECT_EQ(lines(), (Lines{kFileHeader, "Stage \"a\" > stage:"}));
  EXPECT_EQ(targets(), "outside a");
  EXPECT_EQ(host_.sent.size(), 1U);
}

TEST_F(MenuAssemblyTest, ARepositoryThatLostItsIdentifierOffersNothingAndIsNotNamed) {
  choose(kRepoMenuItemsKey, {3});
  select({"/repo"});
  EXPECT_EQ(lines(), (Lines{kRepositoryHeader, "Browser… > showBrowser:"}));
  host_.sent.clear();
  fixture_.repository->setIdentifier(Object());
  EXPECT_EQ(lines(), Lines{}) << "no action could name the repository to the main application";
  EXPECT_TRUE(host_.sent.empty());
}

// -- Items ----------------------------------------------------------------------------------------

TEST_F(MenuAssemblyTest, AFileOutsideHasNoItems) {
  files_.addFile("/outside.txt");
  select({"/outside.txt"});
  EXPECT_EQ(lines(), Lines{});
}

TEST_F(MenuAssemblyTest, TheFactoryListForAChangedFile) {
  fixture_.addReferences(*fixture_.repository);
  fixture_.repository->setDirty(true);
  fixture_.repository->setRealDirty(true);
  fixture_.setStatus(*fixture_.repository, {{"/repo/a.txt", 0x0100}});
  select({"/repo/a.txt"});
  const std::optional<Menu> made = menu();
  ASSERT_TRUE(made);
  Lines titles;
  for (const MenuItem& item : made->items) {
    titles.push_back(item.title);
    if (item.title != "More") continue;
    for (const MenuItem& entry : item.submenu->items) titles.push_back("  " + entry.title);
  }
  EXPECT_EQ(titles, (Lines{"Git Repository",
                           "Browser…",
                           "Settings…",
                           "Commit…",
                           "Checkout",
                           "Merge With",
                           "New Branch from",
                           "New Tag from",
                           "Add Remote…",
                           "Fast-Forward",
                           "Fetch…",
                           "Pull",
                           "Push",
                           "Add Submodule…",
                           "More",
                           "  Discard All Changes…",
                           "  Reset to",
                           "  Rebase Onto",
                           "  Apply Stash",
                           "  Delete Branch",
                           "  Delete Tag",
                           "  Export…",
                           "  Compare…",
                           "  Delete Remote",
                           "  Delete Submodule",
                           "  Git-LFS Fetch",
                           "  Git-LFS Push",
                           "  Git-LFS Prune",
                           "  Start Git-Flow Feature…",
                           "  Finish Git-Flow Feature",
                           "  Finish Git-Flow Release",
                           "  Finish Git-Flow Hotfix",
                           "Git Items",
                           "Stage \"a.txt\"",
                           "See Changes in \"a.txt\"…",
                           "Discard Changes in \"a.txt\"…",
                           "Blame \"a.txt\"…",
                           "History for \"a.txt\"…",
                           "More",
                           "  External Diff for \"a.txt\"…",
                           "  Stash \"a.txt\"…",
                           "  Revert \"a.txt\"",
                           "  Ignore \"a.txt\"",
                           "  Exclude \"a.txt\""}));
}

TEST_F(MenuAssemblyTest, AConflictIsDiffedButNotByAnExternalTool) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x8000}});
  choose(kFileMenuItemsKey, {-3, -13});
  select({"/repo/a"});
  EXPECT_EQ(lines(), (Lines{kFileHeader, "See Changes in \"a\"… > diff:"}));
}

TEST_F(MenuAssemblyTest, AConflictWithoutAncestorIsSeenInTheStatus) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x8000}, {"/repo/b", 0x9000}});
  choose(kFileMenuItemsKey, {-11});
  select({"/repo/a", "/repo/b"});
  EXPECT_EQ(lines(),
            (Lines{kFileHeader,
                   "Resolve 2 Files > resolve: {: Mark as Resolved > resolve: | "
                   "Resolve Using Ours > resolve: #1 | Resolve Using Theirs > resolve: #2 | "
                   "Resolve Using Ancestor > resolve: #3 (disabled) | Show Details… > resolve: "
                   "#5}"}));
}

TEST_F(MenuAssemblyTest, TheCommitWorksOnAllTargets) {
  files_.addFolder("/outside");
  choose(kRepoMenuItemsKey, {5});
  select({"/repo/b", "/repo/a", "/outside"});
  files_.addFile("/repo/a");
  menu();
  EXPECT_EQ(namesOf(host_.senderObjects().objectForAction("commit:")), "b a outside");
}

TEST_F(MenuAssemblyTest, ObjectsOfItemsThatThisMenuDidNotBuildStay) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x0100}, {"/repo/b", 0x0002}});
  select({"/repo/a"});
  menu();
  EXPECT_EQ(namesOf(host_.senderObjects().objectForAction("stage:")), "a");
  select({"/repo/b"});
  menu();
  EXPECT_EQ(namesOf(host_.senderObjects().objectForAction("unstage:")), "b");
  EXPECT_EQ(namesOf(host_.senderObjects().objectForAction("stage:")), "a");
}

// -- What it costs --------------------------------------------------------------------------------

TEST_F(MenuAssemblyTest, EachTargetAndEachFolderAboveIsLookedAtOnce) {
  fixture_.open("/other");
  fixture_.addReferences(*fixture_.repository);
  std::vector<URL> targets;
  for (int i = 0; i < 50; ++i) targets.push_back(files_.addFile("/repo/src/" + std::to_string(i)));
  fixture_.system.finder.select(targets, std::nullopt);
  files_.forgetCounts();
  menu();
  for (const URL& target : targets) EXPECT_LE(files_.lookUps(target.path()), 1U);
  EXPECT_LE(files_.lookUps(), targets.size() + 5) << "/, /repo, /repo/src, /other";
}

}  // namespace
}  // namespace kelpie
