#pragma once

#include <span>

#include "agent/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on git-lfs.
std::span<const ActionRule> lfsActions();

}  // namespace kelpie::agent
