#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "agent/actions/ActionRule.h"

namespace kelpie::agent {

// The rules of all actions. Any thread.
class ActionRules {
 public:
  // Null for an unknown action.
  static const ActionRule* find(std::string_view action);
  // All of them, by group.
  static std::vector<std::span<const ActionRule>> all();
};

}  // namespace kelpie::agent
