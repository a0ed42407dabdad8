#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions in groups, by subject. Each group stands in a source file of the same
// name; ActionRules puts them together.

std::span<const ActionRule> fileActions();
// Actions that replace files: discarding, reverting, and bringing back what they replaced. They ask
// first, and touch only what they asked about.
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
