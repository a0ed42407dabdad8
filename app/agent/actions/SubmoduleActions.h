#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on submodules.
std::span<const ActionRule> submoduleActions();

}  // namespace kelpie::agent
