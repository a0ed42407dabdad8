#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on git-flow.
std::span<const ActionRule> gitflowActions();

}  // namespace kelpie::agent
