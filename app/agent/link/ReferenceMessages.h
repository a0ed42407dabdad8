#pragma once

#include "agent/git/ReferencesSnapshot.h"
#include "foundation/Object.h"

namespace kelpie::agent {

// The arguments of the messages that tell the extension of references; nil where there is nothing
// to tell. Names that are not UTF-8 are shown with U+FFFD: items are known by their numbers and
// positions. Any thread.

// "setReferences:": the tree of six sections. Names are nested at their slashes.
Object referencesObject(const ReferencesSnapshot& snapshot);
// "setStashes:": a title per stash.
Object stashesObject(const ReferencesSnapshot& snapshot);
// "setGitflowInfo:": nil when the repository is not set up for it.
Object gitflowObject(const ReferencesSnapshot& snapshot);
// "setHeadBranch:"
Object headBranchObject(const ReferencesSnapshot& snapshot);

}  // namespace kelpie::agent
