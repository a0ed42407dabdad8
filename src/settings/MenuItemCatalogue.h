#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kelpie {

// One item that a menu of the file manager may offer. The tag is what item lists store; the title
// is the catalogue's name of the item, UTF-8, which a built menu item may vary.
struct MenuItemName {
  std::int64_t tag;
  std::string_view title;
};

// Every item: file items (-1 to -14), repository items (1 to 44; 12, 32 and 33 are retired and
// missing), application items (1000, 1001, 1002, 1005).
std::span<const MenuItemName> menuItemCatalogue();

// One array of tags of the factory item list, and the keys that it stands under.
struct FactoryItems {
  std::string_view listKey;   // kRootMenuItemsKey or kMoreMenuItemsKey
  std::string_view groupKey;  // kRepoMenuItemsKey or kFileMenuItemsKey
  std::span<const std::int64_t> tags;
};

// What a fresh installation shows, in the order of the menus.
std::span<const FactoryItems> factoryItemLists();

}  // namespace kelpie
