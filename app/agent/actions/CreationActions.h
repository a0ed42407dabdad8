#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on repositories that are to be.
std::span<const ActionRule> creationActions();

}  // namespace kelpie::agent
