#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "foundation/Menu.h"
#include "foundation/Object.h"
#include "menus/PickerSections.h"
#include "menus/Selection.h"

namespace kelpie {

class KPReference;
class KPRepository;
class MenuHost;

// What the rows of the item tables speak of.

// The state that decides about an item. Borrows everything while one item is built.
struct ItemQuestion {
  const KPRepository* repository;  // null: no repository
  bool canCreate;
  const Selection& selection;
  MenuHost& host;
};

// A draft of an item, as a rule leaves it. The item becomes a picker, else a submenu, else an
// action; without any of these there is no item.
struct MenuItemDraft {
  std::string title;
  std::string_view action;  // empty: none
  Object representedObject;
  std::shared_ptr<const Menu> submenu;

  PickerSections picker;  // empty: none
  bool hasHeader = false;
  std::shared_ptr<const KPReference> reference;  // what the picker compares with; may be null
};

}  // namespace kelpie
