#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions, by what they are about. Each group stands in a source file that is
// named as the group; ActionRules puts them together.

std::span<const ActionRule> fileActions();
// What replaces files: discarding, reverting, and bringing back what they replaced. These ask
// first, and touch what they asked about.
std::span<const ActionRule> discardActions();
std::span<const ActionRule> conflictActions();  // between versions of a file
std::span<const ActionRule> stashActions();
std::span<const ActionRule> branchActions();  // and on tags
std::span<const ActionRule> remoteActions();
std::span<const ActionRule> submoduleActions();
std::span<const ActionRule> gitflowActions();
std::span<const ActionRule> lfsActions();
std::span<const ActionRule> windowActions();    // and of the application
std::span<const ActionRule> creationActions();  // of a repository

}  // namespace kelpie::agent
