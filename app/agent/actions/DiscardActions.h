#pragma once

#include <span>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The actions that replace files: discarding, reverting, and bringing back what they replaced. They
// ask first, and touch what they asked about.
std::span<const ActionRule> discardActions();

}  // namespace kelpie::agent
