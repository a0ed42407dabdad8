#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on conflicts between versions of a file.
std::span<const ActionRule> conflictActions();

}  // namespace kelpie::agent
