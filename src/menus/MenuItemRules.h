#pragma once

#include <cstdint>
#include <optional>

#include "foundation/MenuItem.h"
#include "menus/Selection.h"
#include "platform/Log.h"

namespace kelpie {

class KPRepository;
class MenuHost;

// Turns the tags of the item catalogue into menu items for one selection. Holds nothing of its own;
// what an item's action will work on is left in the host's sender objects. Main thread.
class MenuItemRules {
 public:
  // Both are borrowed for the life of this object.
  MenuItemRules(MenuHost& host, Log& log) : host_(host), log_(log) {}

  // The item of that tag, or nothing when it does not apply; a tag that the catalogue does not know
  // is logged. `repository` is the one that all selected items belong to; null answers every
  // question of a rule with no. `canCreate` says that a repository could be made of the one
  // selected folder. The item has tag 0 and is enabled: MenuLayout decides whether the user may
  // choose it.
  std::optional<MenuItem> menuItemForMenuItemTag(std::int64_t tag, const KPRepository* repository,
                                                 bool canCreate, const Selection& selection) const;

 private:
  MenuHost& host_;
  Log& log_;
};

}  // namespace kelpie
