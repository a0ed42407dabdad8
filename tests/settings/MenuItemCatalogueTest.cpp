#include "settings/MenuItemCatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"

namespace kelpie {
namespace {

constexpr std::string_view kNotHere = "Should not get here!!!";

// The titles as the main application shows them, so that a slip in the table shows up here.
constexpr MenuItemName kTitles[] = {
    {-14, "Stash Files\u2026"},
    {-13, "External Diff\u2026"},
    {-12, "Restore"},
    {-11, "Resolve"},
    {-10, "Untrack"},
    {-9, "Exclude"},
    {-8, "Ignore"},
    {-7, "Revert"},
    {-6, "History\u2026"},
    {-5, "Blame\u2026"},
    {-4, "Discard changes\u2026"},
    {-3, "See changes\u2026"},
    {-2, "Unstage"},
    {-1, "Stage"},
    {1, "Clone\u2026"},
    {2, "Create\u2026"},
    {3, "Browser\u2026"},
    {4, "Settings\u2026"},
    {5, "Commit\u2026"},
    {6, "Checkout"},
    {7, "Discard All Changes\u2026"},
    {8, "Reset to"},
    {9, "Merge With"},
    {10, "Rebase Onto"},
    {11, "Apply Patch\u2026"},
    {13, "Apply Stash"},
    {14, "Delete Stash"},
    {15, "Rename Branch"},
    {16, "Delete Branch"},
    {17, "New Branch from"},
    {18, "New Tag from"},
    {19, "Delete Tag"},
    {20, "Export\u2026"},
    {21, "Compare\u2026"},
    {22, "Add Remote\u2026"},
    {23, "Delete Remote"},
    {24, "Settings for Remote"},
    {25, "Fetch\u2026"},
    {26, "Prune Remote"},
    {27, "Pull"},
    {28, "Push"},
    {29, "Add Submodule\u2026"},
    {30, "Delete Submodule"},
    {31, "Settings for Submodule"},
    {34, "Start Git-Flow Feature\u2026"},
    {35, "Finish Git-Flow Feature"},
    {36, "Start Git-Flow Release\u2026"},
    {37, "Finish Git-Flow Release"},
    {38, "Start Git-Flow Hotfix\u2026"},
    {39, "Finish Git-Flow Hotfix"},
    {40, "Git-LFS Fetch"},
    {41, "Git-LFS Push"},
    {42, "Git-LFS Prune"},
    {43, "New Pull Request\u2026"},
    {44, "Fast-Forward"},
    {1000, "About Kelpie"},
    {1001, "Preferences\u2026"},
    {1002, "Git Configuration\u2026"},
    {1005, "Quit"},
};

TEST(MenuItemCatalogue, EveryTagHasItsTitle) {
  EventLog events;
  FakeLog log(events);
  for (const MenuItemName& name : kTitles)
    EXPECT_EQ(KPUserDefaults::titleForMenuItemTag(name.tag, log), name.title) << name.tag;
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(menuItemCatalogue().size(), std::size(kTitles));
}

TEST(MenuItemCatalogue, RetiredAndUnknownTagsAreLoggedAndHaveNoTitle) {
  for (const std::int64_t tag :
       {std::int64_t{0}, std::int64_t{12}, std::int64_t{32}, std::int64_t{33}, std::int64_t{45},
        std::int64_t{999}, std::int64_t{-15}, std::int64_t{1003}, std::int64_t{1004},
        std::int64_t{1006}, std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max()}) {
    EventLog events;
    FakeLog log(events);
    EXPECT_EQ(KPUserDefaults::titleForMenuItemTag(tag, log), std::nullopt) << tag;
    EXPECT_EQ(log.lines(), std::vector<std::string>{std::string(kNotHere)}) << tag;
  }
}

std::vector<std::int64_t> tagsOf(const Object& items, std::string_view list,
                                 std::string_view group) {
  std::vector<std::int64_t> tags;
  for (const Object& tag : items[list][group].elements()) tags.push_back(tag.integerValue());
  return tags;
}

TEST(MenuItemCatalogue, FactoryListHasTheOrderOfTheMenus) {
  const Object items = KPUserDefaults::defaultFinderMenuItems();

  using Tags = std::vector<std::int64_t>;
  EXPECT_EQ(tagsOf(items, "KPRootMenuItems", "KPRepoMenuItems"),
            (Tags{1, 2, 3, 4, 5, 6, 9, 17, 18, 22, 44, 25, 27, 28, 29}));
  EXPECT_EQ(tagsOf(items, "KPRootMenuItems", "KPFileMenuItems"),
            (Tags{-1, -2, -3, -4, -5, -6, -11}));
  EXPECT_EQ(tagsOf(items, "KPMoreMenuItems", "KPRepoMenuItems"),
            (Tags{7, 8, 10, 13, 16, 19, 20, 21, 23, 30, 40, 41, 42, 34, 35, 36, 37, 38, 39}));
  EXPECT_EQ(tagsOf(items, "KPMoreMenuItems", "KPFileMenuItems"), (Tags{-13, -14, -7, -8, -9}));

  EXPECT_EQ(items.size(), 2U);
  for (const std::string_view list : {"KPRootMenuItems", "KPMoreMenuItems"}) {
    EXPECT_EQ(items[list].size(), 2U) << list;
    EXPECT_TRUE(items[list]["KPAppMenuItems"].isNil()) << list;
  }
}

TEST(MenuItemCatalogue, EveryFactoryItemIsInTheCatalogueAndInOneList) {
  std::set<std::int64_t> seen;
  for (const FactoryItems& factory : factoryItemLists()) {
    for (const std::int64_t tag : factory.tags) {
      EXPECT_TRUE(std::ranges::count(menuItemCatalogue(), tag, &MenuItemName::tag) == 1) << tag;
      EXPECT_TRUE(seen.insert(tag).second) << tag;
      EXPECT_EQ(factory.groupKey, tag < 0 ? kFileMenuItemsKey : kRepoMenuItemsKey) << tag;
    }
  }
}

}  // namespace
}  // namespace kelpie
