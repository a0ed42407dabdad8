#include "agent/actions/ActionGroups.h"

#include <optional>
#include <span>
#include <string>
#include <variant>

#include "agent/actions/ActionJob.h"
#include "agent/actions/PushRemote.h"

namespace kelpie::agent {
namespace {

// The action's outcome where git-lfs is not installed; absent where it is.
std::optional<ActionOutcome> missing(const ActionJob& job) {
  if (job.git().ask({"lfs", "version"}).succeeded()) return std::nullopt;
  return ActionOutcome::failed("git-lfs is not installed.");
}

ActionOutcome fetchObjects(ActionJob& job) {
  if (auto none = missing(job)) return *none;
  return job.change({"lfs", "fetch"});
}

// What git-lfs prunes is on the remote, or it keeps it.
ActionOutcome pruneObjects(ActionJob& job) {
  if (auto none = missing(job)) return *none;
  return job.change({"lfs", "prune"});
}

ActionOutcome pushObjects(ActionJob& job) {
  if (auto none = missing(job)) return *none;
  const ReferencesSnapshot* references = job.references();
  if (references == nullptr || !references->headBranch || references->headBranch->isDetached)
    return ActionOutcome::failed("No branch is checked out.");
  const Reference& head = *references->headBranch;
  const auto remote = pushRemote(job, head);
  if (const auto* failure = std::get_if<ActionOutcome>(&remote)) return *failure;
  return job.change({"lfs", "push", std::get<Remote>(remote).name, head.shortName});
}

constexpr ActionRule kLfsActions[] = {
    {.action = "lfsFetch:", .label = "Git-LFS Fetch", .work = fetchObjects},
    {.action = "lfsPush:", .label = "Git-LFS Push", .work = pushObjects},
    {.action = "lfsPrune:", .label = "Git-LFS Prune", .work = pruneObjects},
};

}  // namespace

std::span<const ActionRule> lfsActions() { return kLfsActions; }

}  // namespace kelpie::agent
