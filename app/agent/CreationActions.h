#pragma once

#include <span>

#include "agent/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on repositories that are to be.
std::span<const ActionRule> creationActions();

}  // namespace kelpie::agent
