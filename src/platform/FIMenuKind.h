#pragma once

#include <cstdint>

namespace kelpie {

// What the file manager asks a menu for, in the Finder's numbers. A number that stands for none of
// these is possible, and gets no menu.
enum class FIMenuKind : std::uint64_t {
  ContextualMenuForItems = 0,      // of selected items
  ContextualMenuForContainer = 1,  // of the background of a folder
  ContextualMenuForSidebar = 2,
  ToolbarItemMenu = 3,
};

}  // namespace kelpie
