#include "agent/actions/ActionRules.h"

#include "agent/actions/ActionGroups.h"

namespace kelpie::agent {

std::vector<std::span<const ActionRule>> ActionRules::all() {
  return {fileActions(),   discardActions(), conflictActions(),  stashActions(),
          branchActions(), remoteActions(),  submoduleActions(), gitflowActions(),
          lfsActions(),    windowActions(),  creationActions()};
}

const ActionRule* ActionRules::find(std::string_view action) {
  for (const std::span<const ActionRule> group : all())
    for (const ActionRule& rule : group)
      if (rule.action == action) return &rule;
  return nullptr;
}

}  // namespace kelpie::agent
