#pragma once

#include <span>
#include <string_view>

#include "agent/random/WorkTree.h"

namespace kelpie::agent {

// A kind of change. It may find nothing to change, and then does nothing.
struct WorkTreeChange {
  std::string_view name;
  unsigned weight = 1;  // how often, compared with others
  void (*apply)(WorkTree& tree);
};

// Without git, and by git or of what git keeps.
std::span<const WorkTreeChange> fileTreeChanges();
std::span<const WorkTreeChange> gitTreeChanges();

}  // namespace kelpie::agent
