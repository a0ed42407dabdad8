#pragma once

#include <cstdint>
#include <memory>

#include "agent/git/ReferencesSnapshot.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// The working copy that an action is carried out on. A value; any thread.
struct ActionContext {
  // With an empty root where the request concerns no working copy.
  WorkingCopy workingCopy;
  // What the menu was made of, or something newer. Without a status the action reads it. Without
  // references it reads those that are named by their position; one that is named by its number
  // is not found, since only who gave the number knows what it stands for.
  std::shared_ptr<const StatusSnapshot> status;
  std::shared_ptr<const ReferencesSnapshot> references;
  // The number of the action; 0 for one without.
  std::uint64_t action = 0;
};

}  // namespace kelpie::agent
