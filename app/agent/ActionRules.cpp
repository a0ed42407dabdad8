#include "agent/ActionRules.h"

#include "agent/BranchActions.h"
#include "agent/ConflictActions.h"
#include "agent/CreationActions.h"
#include "agent/FileActions.h"
#include "agent/GitflowActions.h"
#include "agent/LfsActions.h"
#include "agent/RemoteActions.h"
#include "agent/StashActions.h"
#include "agent/SubmoduleActions.h"
#include "agent/WindowActions.h"

namespace kelpie::agent {

std::vector<std::span<const ActionRule>> ActionRules::all() {
  return {fileActions(),   conflictActions(),  stashActions(),   branchActions(),
          remoteActions(), submoduleActions(), gitflowActions(), lfsActions(),
          windowActions(), creationActions()};
}

const ActionRule* ActionRules::find(std::string_view action) {
  for (const std::span<const ActionRule> group : all())
    for (const ActionRule& rule : group)
      if (rule.action == action) return &rule;
  return nullptr;
}

}  // namespace kelpie::agent
