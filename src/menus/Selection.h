#pragma once

#include "foundation/Object.h"

namespace kelpie {

// The selected items as the item rules see them: sorted by what can be done with them, each list an
// array of file URLs in the order of the selection. The lists are objects because the items hand
// them on whole, so that several items share one list. A nil list counts as empty.
struct Selection {
  Object staged = {};
  Object unstaged = {};
  Object diffable = {};
  Object discardable = {};
  Object revertable = {};
  Object tracked = {};
  Object conflicted = {};
  // False once one of the conflicted items has no common ancestor.
  bool hasAncestor = true;
};

}  // namespace kelpie
