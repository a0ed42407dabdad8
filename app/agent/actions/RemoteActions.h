#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on remotes.
std::span<const ActionRule> remoteActions();

}  // namespace kelpie::agent
