#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "foundation/Object.h"

namespace kelpie {

// For the name of each action, colons included, the object that the action works on. A menu item
// on screen does not carry its object itself: building the item leaves it here, and the action
// looks under the name of the item's action when it arrives. Entries of items that the last menu
// did not build stay. Main thread.
class SenderObjects {
 public:
  // Adds or replaces the entry; nil removes it.
  void set(std::string_view action, Object object);
  void remove(std::string_view action);
  // nil when there is no entry.
  Object objectForAction(std::string_view action) const;

 private:
  std::map<std::string, Object, std::less<>> objects_;
};

}  // namespace kelpie
