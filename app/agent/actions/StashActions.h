#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on stashes.
std::span<const ActionRule> stashActions();

}  // namespace kelpie::agent
