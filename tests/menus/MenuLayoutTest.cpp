#include "menus/MenuLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "MenuFixture.h"
#include "foundation/Dictionary.h"
#include "settings/SettingsKeys.h"
#include "support/MenuDescription.h"

namespace kelpie {
namespace {

using Lines = std::vector<std::string>;

Object itemList(const Dictionary& root, const Dictionary& more = {}) {
  return Dictionary{{kRootMenuItemsKey, root}, {kMoreMenuItemsKey, more}};
}

class MenuLayoutTest : public testing::Test {
 protected:
  Menu layOut(const Object& list) {
    const MenuItemRules rules(fixture_.host, fixture_.system.log);
    return MenuLayout(rules, repository_, canCreate_, selection_, fixture_.system.log)
        .menuForItemList(list);
  }
  Lines lines(const Object& list) { return describe(layOut(list)); }

  MenuFixture fixture_;
  const KPRepository* repository_ = fixture_.repository.get();
  bool canCreate_ = false;
  Selection selection_;
};

TEST_F(MenuLayoutTest, GroupsFollowOneAnotherEachUnderItsHeader) {
  selection_.staged = MenuFixture::list({"/repo/a"});
  const Menu menu = layOut(itemList({{kAppMenuItemsKey, Objects{1005}},
                                     {kFileMenuItemsKey, Objects{-1, -2}},
                                     {kRepoMenuItemsKey, Objects{4, 3}}}));
  EXPECT_EQ(menu.title, "");
  EXPECT_EQ(describe(menu),
            (Lines{kRepositoryHeader, "Settings… > showSettings:", "Browser… > showBrowser:",
                   kFileHeader, "Unstage \"a\" > unstage:", kApplicationHeader, "Quit > quit:"}));
}

TEST_F(MenuLayoutTest, ApplicationItemsComeLast) {
  EXPECT_EQ(lines(itemList({{kAppMenuItemsKey, Objects{1000, 1005}}})),
            (Lines{kApplicationHeader, "About Kelpie > showAboutPanel:", "Quit > quit:"}));
}

TEST_F(MenuLayoutTest, MoreItemsStandInASubmenuAtTheEndOfTheirGroup) {
  EXPECT_EQ(lines(itemList({{kRepoMenuItemsKey, Objects{3}}, {kAppMenuItemsKey, Objects{1005}}},
                           {{kRepoMenuItemsKey, Objects{11, 22}}})),
            (Lines{kRepositoryHeader, "Browser… > showBrowser:",
                   "More {More: Apply Patch… > applyPatch: | Add Remote… > addRemote:}",
                   kApplicationHeader, "Quit > quit:"}));
}

TEST_F(MenuLayoutTest, AGroupMayHaveNothingButMore) {
  EXPECT_EQ(lines(itemList({{kRepoMenuItemsKey, Objects{7}}}, {{kRepoMenuItemsKey, Objects{3}}})),
            (Lines{kRepositoryHeader, "More {More: Browser… > showBrowser:}"}));
}

TEST_F(MenuLayoutTest, MoreWithoutItemsIsDropped) {
  EXPECT_EQ(lines(itemList({{kRepoMenuItemsKey, Objects{3}}}, {{kRepoMenuItemsKey, Objects{7}}})),
            (Lines{kRepositoryHeader, "Browser… > showBrowser:"}));
}

TEST_F(MenuLayoutTest, AGroupWithoutItemsHasNoHeader) {
  EXPECT_EQ(lines(itemList({{kRepoMenuItemsKey, Objects{7}}, {kFileMenuItemsKey, Objects{-1}}},
                           {{kRepoMenuItemsKey, Objects{13}}})),
            Lines{});
}

TEST_F(MenuLayoutTest, TagsAreNotCheckedAgainstTheirGroup) {
  EXPECT_EQ(lines(itemList({{kFileMenuItemsKey, Objects{1005, 3}}})),
            (Lines{kFileHeader, "Quit > quit:", "Browser… > showBrowser:"}));
}

TEST_F(MenuLayoutTest, ATagMayStandTwice) {
  EXPECT_EQ(lines(itemList({{kAppMenuItemsKey, Objects{1005, 1005}}})),
            (Lines{kApplicationHeader, "Quit > quit:", "Quit > quit:"}));
}

TEST_F(MenuLayoutTest, ADisabledRepositoryDisablesTheTopLevelAndMore) {
  fixture_.addReferences(*fixture_.repository);
  fixture_.repository->setDisabled(true);
  selection_.conflicted = MenuFixture::list({"/repo/a"});
  const Menu menu =
      layOut(itemList({{kRepoMenuItemsKey, Objects{3, 19}}, {kAppMenuItemsKey, Objects{1005}}},
                      {{kRepoMenuItemsKey, Objects{4}}, {kFileMenuItemsKey, Objects{-12}}}));
  EXPECT_EQ(describe(menu),
            (Lines{kRepositoryHeader, "Browser… > showBrowser: (disabled)",
                   "Delete Tag (disabled) {: v1 > deleteTags: #21}",
                   "More (disabled) {More: Settings… > showSettings: (disabled)}", kFileHeader,
                   "More (disabled) {More: Restore \"a\" > restore: (disabled) {: "
                   "Restore Unmerged > restore: | Restore Using Ours > restore: #1 | "
                   "Restore Using Theirs > restore: #2 | Restore Using Ancestor > restore: #3}}",
                   kApplicationHeader, "Quit > quit: (disabled)"}));
}

TEST_F(MenuLayoutTest, AnAncestorEntryKeepsItsOwnFlag) {
  selection_.conflicted = MenuFixture::list({"/repo/a"});
  selection_.hasAncestor = false;
  EXPECT_EQ(lines(itemList({{kFileMenuItemsKey, Objects{-12}}})),
            (Lines{kFileHeader,
                   "Restore \"a\" > restore: {: Restore Unmerged > restore: | "
                   "Restore Using Ours > restore: #1 | Restore Using Theirs > restore: #2 | "
                   "Restore Using Ancestor > restore: #3 (disabled)}"}));
}

TEST_F(MenuLayoutTest, WithoutARepositoryItemsAreEnabled) {
  repository_ = nullptr;
  canCreate_ = true;
  EXPECT_EQ(lines(itemList({{kRepoMenuItemsKey, Objects{1, 2, 3}}})),
            (Lines{kRepositoryHeader, "Clone… > clone:", "Create… > createRepository:"}));
}

TEST_F(MenuLayoutTest, AListOfAnyShapeGivesAMenu) {
  const Object tags = Objects{1005};
  const Object group = Dictionary{{kAppMenuItemsKey, tags}};
  struct Case {
    const char* why;
    Object list;
  };
  const Case cases[] = {
      {"no list", Object()},
      {"a number for a list", 17},
      {"an array for a list", Objects{1, 2, 3}},
      {"an empty list", Dictionary{}},
      {"numbers for the root and more", Dictionary{{kRootMenuItemsKey, 1}, {kMoreMenuItemsKey, 2}}},
      {"arrays for the root and more",
       Dictionary{{kRootMenuItemsKey, tags}, {kMoreMenuItemsKey, tags}}},
      {"texts for the tags", itemList({{kRepoMenuItemsKey, "1"}, {kAppMenuItemsKey, "1005"}})},
      {"a number for the tags", itemList({{kAppMenuItemsKey, 1005}})},
      {"a dictionary for the tags", itemList({{kAppMenuItemsKey, group}})},
      {"a set for the tags", itemList({{kAppMenuItemsKey, Object::set({1005})}})},
      {"keys that are no strings", Dictionary{{1, group}, {2, group}}},
      {"groups that do not exist", itemList({{"KPOtherMenuItems", tags}})},
      {"groups at the top", group},
  };
  for (const Case& c : cases) EXPECT_EQ(lines(c.list), Lines{}) << c.why;
  EXPECT_TRUE(fixture_.system.log.lines().empty());
}

TEST_F(MenuLayoutTest, WhatIsNoTagIsLoggedAndLeftOut) {
  EXPECT_EQ(lines(itemList({{kAppMenuItemsKey,
                             Objects{"1005", Objects{1005}, Dictionary{}, 12, 1000.0, 1005}}})),
            (Lines{kApplicationHeader, "About Kelpie > showAboutPanel:", "Quit > quit:"}));
  EXPECT_EQ(fixture_.system.log.lines(), Lines(8, "Should not get here!!!"));
}

TEST_F(MenuLayoutTest, AHugeListIsShownInPart) {
  const Menu menu = layOut(itemList({{kAppMenuItemsKey, Objects(1'000'000, Object(1005))}}));
  EXPECT_EQ(menu.items.size(), MenuLayout::kMaximumTags + 1);
  EXPECT_EQ(fixture_.system.log.lines(),
            Lines{"Only the first 256 of 1000000 items under KPAppMenuItems are shown"});
}

// The last item built for an action decides what the action works on.
TEST_F(MenuLayoutTest, TheRootIsBuiltBeforeMore) {
  layOut(itemList({{kAppMenuItemsKey, Objects(300, Object(1005))}},
                  {{kAppMenuItemsKey, Objects(400, Object(1005))}}));
  EXPECT_EQ(fixture_.system.log.lines(),
            (Lines{"Only the first 256 of 300 items under KPAppMenuItems are shown",
                   "Only the first 256 of 400 items under KPAppMenuItems are shown"}));
}

TEST_F(MenuLayoutTest, AListOfTheLargestSizeIsShownWhole) {
  const Menu menu =
      layOut(itemList({{kAppMenuItemsKey, Objects(MenuLayout::kMaximumTags, Object(1005))}}));
  EXPECT_EQ(menu.items.size(), MenuLayout::kMaximumTags + 1);
  EXPECT_TRUE(fixture_.system.log.lines().empty());
}

}  // namespace
}  // namespace kelpie
