#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on branches and tags.
std::span<const ActionRule> branchActions();

}  // namespace kelpie::agent
