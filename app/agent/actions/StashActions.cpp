#include "agent/actions/ActionGroups.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/IncomingFiles.h"
#include "agent/git/PathScope.h"
#include "agent/git/ReferenceParser.h"

namespace kelpie::agent {
namespace {

bool holdsUntracked(const StatusSnapshot& status, const std::vector<std::string>& paths) {
  const PathScope scope(paths);
  return std::ranges::any_of(status.items(), [&](const StatusItem& item) {
    return item.word == KPStatusWorkdirNew && scope.contains(item.path);
  });
}

ActionOutcome saveStash(ActionJob& job) {
  const Dialogs::Answer message = Dialogs::ask("Stash as:", "Work in progress");
  // A stash needs no message of the user's.
  if (message.end == Dialogs::End::Cancelled) return ActionOutcome::cancelled();
  Arguments arguments = {"stash", "push", "-q"};
  if (message.given()) arguments.insert(arguments.end(), {"-m", message.text});
  const std::vector<std::string>& paths = job.target().paths;
  if (paths.empty()) return job.change(arguments);
  const StatusSnapshot* status = job.status();
  // git takes new files only when told to.
  if (status != nullptr && holdsUntracked(*status, paths))
    arguments.emplace_back("--include-untracked");
  return job.changePaths(arguments, paths);
}

// git itself refuses where untracked files of the stash are in the way of others.
ActionOutcome applyStash(ActionJob& job) {
  const std::string oid = job.target().stash->oid;
  return IncomingFiles::bring(
      job,
      [&] {
        return IncomingFiles::Source{{{oid + "^1", oid}}, {}};
      },
      [&](IncomingFiles::Ignored) {
        return job.change({"stash", "apply", "-q", oid});
      });
}

// By its commit: the position may have changed since the menu was shown.
ActionOutcome deleteStash(ActionJob& job) {
  const ProgramResult listed = job.git().ask({"stash", "list", "-z", kStashFormat});
  const std::vector<Stash> stashes = parseStashes(listed.output);
  const auto found = std::ranges::find(stashes, job.target().stash->oid, &Stash::oid);
  if (found == stashes.end()) return ActionOutcome::failed("The stash is not there any more.");
  const auto position = static_cast<std::size_t>(found - stashes.begin());
  return job.change({"stash", "drop", "-q", "stash@{" + std::to_string(position) + "}"});
}

constexpr ActionRule kStashActions[] = {
    {.action = "saveStash:",
     .label = "Stash",
     .subject = ActionSubject::FilesOrNone,
     .work = saveStash},
    {.action = "applyStash:",
     .label = "Apply Stash",
     .subject = ActionSubject::Stash,
     .work = applyStash},
    {.action = "deleteStashes:",
     .label = "Delete Stash",
     .subject = ActionSubject::Stash,
     .question = "Delete the stash %@?\n\nWhat it holds will be lost.",
     .work = deleteStash},
};

}  // namespace

std::span<const ActionRule> stashActions() { return kStashActions; }

}  // namespace kelpie::agent
