#pragma once

#include <cstddef>
#include <string_view>

#include "foundation/Menu.h"
#include "foundation/Object.h"
#include "menus/MenuItemRules.h"
#include "menus/Selection.h"
#include "platform/Log.h"

namespace kelpie {

class KPRepository;

// Lays the items of an item list out in a menu, for one selection. Lives for the making of one
// menu.
class MenuLayout {
 public:
  // How many tags of one array are shown: several times what the catalogue has. A stored array of
  // any length must not keep the file manager waiting.
  static constexpr std::size_t kMaximumTags = 256;

  // `repository` may be null. All but `canCreate` are borrowed for the life of this object.
  MenuLayout(const MenuItemRules& rules, const KPRepository* repository, bool canCreate,
             const Selection& selection, Log& log);

  // The menu, without a title: repository items, file items and application items, each group under
  // a header, with what the user has put there in a submenu "More". A group without an item shows
  // nothing. A value of a wrong class in the item list counts as empty, and a tag of a wrong class
  // as 0.
  Menu menuForItemList(const Object& itemList) const;

 private:
  void addItems(const Object& tags, std::string_view groupKey, Menu& menu) const;

  const MenuItemRules& rules_;
  const KPRepository* repository_;
  const bool canCreate_;
  const Selection& selection_;
  Log& log_;
  const bool enabled_;
};

}  // namespace kelpie
