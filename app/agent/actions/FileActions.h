#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on files.
std::span<const ActionRule> fileActions();

}  // namespace kelpie::agent
