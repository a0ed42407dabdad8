#pragma once

#include <span>

#include "agent/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on stashes.
std::span<const ActionRule> stashActions();

}  // namespace kelpie::agent
