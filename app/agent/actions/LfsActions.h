#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of the actions on git-lfs.
std::span<const ActionRule> lfsActions();

}  // namespace kelpie::agent
