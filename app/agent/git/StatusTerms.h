#pragma once

#include "agent/git/ReadingRules.h"

namespace kelpie::agent {

// The terms of a reading of the status: two readings under different ones cannot be compared. A
// value.
struct StatusTerms {
  ReadingRules rules;
  // Whether the user wants untracked items in the status at all.
  bool untrackedShown = true;
  // Names that differ in case only are the same to git.
  bool ignoresCase = false;
  // Only a part of the files is checked out.
  bool isSparse = false;
};

}  // namespace kelpie::agent
