#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on windows, and of the application.
std::span<const ActionRule> windowActions();

}  // namespace kelpie::agent
