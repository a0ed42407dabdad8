#include "settings/MenuItemCatalogue.h"

#include "settings/SettingsKeys.h"

namespace kelpie {

namespace {

constexpr MenuItemName kCatalogue[] = {
    // File items.
    {-1, "Stage"},
    {-2, "Unstage"},
    {-3, "See changes…"},
    {-4, "Discard changes…"},
    {-5, "Blame…"},
    {-6, "History…"},
    {-7, "Revert"},
    {-8, "Ignore"},
    {-9, "Exclude"},
    {-10, "Untrack"},
    {-11, "Resolve"},
    {-12, "Restore"},
    {-13, "External Diff…"},
    {-14, "Stash Files…"},
    // Repository items. 12 has become -14; 32 and 33 are gone for good.
    {1, "Clone…"},
    {2, "Create…"},
    {3, "Browser…"},
    {4, "Settings…"},
    {5, "Commit…"},
    {6, "Checkout"},
    {7, "Discard All Changes…"},
    {8, "Reset to"},
    {9, "Merge With"},
    {10, "Rebase Onto"},
    {11, "Apply Patch…"},
    {13, "Apply Stash"},
    {14, "Delete Stash"},
    {15, "Rename Branch"},
    {16, "Delete Branch"},
    {17, "New Branch from"},
    {18, "New Tag from"},
    {19, "Delete Tag"},
    {20, "Export…"},
    {21, "Compare…"},
    {22, "Add Remote…"},
    {23, "Delete Remote"},
    {24, "Settings for Remote"},
    {25, "Fetch…"},
    {26, "Prune Remote"},
    {27, "Pull"},
    {28, "Push"},
    {29, "Add Submodule…"},
    {30, "Delete Submodule"},
    {31, "Settings for Submodule"},
    {34, "Start Git-Flow Feature…"},
    {35, "Finish Git-Flow Feature"},
    {36, "Start Git-Flow Release…"},
    {37, "Finish Git-Flow Release"},
    {38, "Start Git-Flow Hotfix…"},
    {39, "Finish Git-Flow Hotfix"},
    {40, "Git-LFS Fetch"},
    {41, "Git-LFS Push"},
    {42, "Git-LFS Prune"},
    {43, "New Pull Request…"},
    {44, "Fast-Forward"},
    // Application items.
    {1000, "About Kelpie"},
    {1001, "Preferences…"},
    {1002, "Git Configuration…"},
    {1005, "Quit"},
};

// The order is the order of the menu.
constexpr std::int64_t kRootRepoItems[] = {1, 2, 3, 4, 5, 6, 9, 17, 18, 22, 44, 25, 27, 28, 29};
constexpr std::int64_t kRootFileItems[] = {-1, -2, -3, -4, -5, -6, -11};
constexpr std::int64_t kMoreRepoItems[] = {7,  8,  10, 13, 16, 19, 20, 21, 23, 30,
                                           40, 41, 42, 34, 35, 36, 37, 38, 39};
constexpr std::int64_t kMoreFileItems[] = {-13, -14, -7, -8, -9};

constexpr FactoryItems kFactoryLists[] = {
    {kRootMenuItemsKey, kRepoMenuItemsKey, kRootRepoItems},
    {kRootMenuItemsKey, kFileMenuItemsKey, kRootFileItems},
    {kMoreMenuItemsKey, kRepoMenuItemsKey, kMoreRepoItems},
    {kMoreMenuItemsKey, kFileMenuItemsKey, kMoreFileItems},
};

}  // namespace

std::span<const MenuItemName> menuItemCatalogue() { return kCatalogue; }

std::span<const FactoryItems> factoryItemLists() { return kFactoryLists; }

}  // namespace kelpie
