#include "agent/actions/ActionRules.h"

#include "agent/actions/BranchActions.h"
#include "agent/actions/ConflictActions.h"
#include "agent/actions/CreationActions.h"
#include "agent/actions/DiscardActions.h"
#include "agent/actions/FileActions.h"
#include "agent/actions/GitflowActions.h"
#include "agent/actions/LfsActions.h"
#include "agent/actions/RemoteActions.h"
#include "agent/actions/StashActions.h"
#include "agent/actions/SubmoduleActions.h"
#include "agent/actions/WindowActions.h"

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
