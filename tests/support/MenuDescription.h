#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/Object.h"

namespace kelpie {

// A menu item in one line, what is as usual left out:
//   Title > action: #TAG [Image] (on) (disabled) {Submenu title: Item | Item}
std::string describe(const MenuItem& item);
// "(none)" for no item.
std::string describe(const std::optional<MenuItem>& item);
// A line an item.
std::vector<std::string> describe(const Menu& menu);

// The names of the file URLs of an array, with blanks between; "(nil)" for nil.
std::string namesOf(const Object& urls);

}  // namespace kelpie
