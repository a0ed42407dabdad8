#include "agent/actions/ActionGroups.h"

#include <filesystem>
#include <span>
#include <system_error>

#include "agent/actions/ActionJob.h"

namespace kelpie::agent {
namespace {

// Into the folder itself when nothing is in it, else into a new one in it.
ActionOutcome clone(ActionJob& job) {
  const Dialogs::Answer url = Dialogs::ask("Address of the repository to clone:", "");
  if (!url.given()) return job.unanswered(url);
  Arguments arguments = {"clone", "-q", "--", url.text};
  std::error_code error;
  if (std::filesystem::is_empty(job.git().folder(), error) && !error) arguments.emplace_back(".");
  return job.change(arguments);
}

constexpr auto kCreation = ActionKind::Creation;

constexpr ActionRule kCreationActions[] = {
    {.action = "clone:", .label = "Clone", .work = clone, .kind = kCreation},
    {.action = "createRepository:", .label = "Create", .git = "init -q", .kind = kCreation},
};

}  // namespace

std::span<const ActionRule> creationActions() { return kCreationActions; }

}  // namespace kelpie::agent
