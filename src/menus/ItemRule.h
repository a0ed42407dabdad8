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

// What there is to know when an item is asked for. Borrows all of it for the building of one item.
struct ItemQuestion {
  const KPRepository* repository;  // null: no repository
  bool canCreate;
  const Selection& selection;
  MenuHost& host;
};

// What a rule has settled of an item before the item is made of it. An item has a picker, else a
// submenu, else an action; with none of them there is no item.
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
