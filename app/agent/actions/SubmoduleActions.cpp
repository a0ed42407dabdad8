#include "agent/actions/SubmoduleActions.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "agent/actions/ActionJob.h"

namespace kelpie::agent {
namespace {

// What git would call the folder of a clone.
std::string folderNameOf(std::string_view url) {
  while (url.ends_with('/')) url.remove_suffix(1);
  if (url.ends_with(".git")) url.remove_suffix(4);
  const std::size_t cut = url.find_last_of("/:");
  return std::string(cut == std::string_view::npos ? url : url.substr(cut + 1));
}

ActionOutcome addSubmodule(ActionJob& job) {
  const Dialogs::Answer url = Dialogs::ask("Address of the submodule's repository:", "");
  if (!url.given()) return job.unanswered(url);
  const Dialogs::Answer path = Dialogs::ask(
      "Folder of the submodule, from the root of the working copy:", folderNameOf(url.text));
  if (!path.given()) return job.unanswered(path);
  return job.change({"submodule", "--quiet", "add", "--", url.text, path.text});
}

// The submodule's own repository stays in the git directory, and with it what was never pushed.
ActionOutcome deleteSubmodule(ActionJob& job) {
  const std::string& path = job.target().submodule->path;
  const auto asArguments = GitCommand::Paths::AsArguments;
  if (ActionOutcome outcome =
          job.changePaths({"submodule", "--quiet", "deinit", "-f"}, {path}, asArguments);
      !outcome.isDone())
    return outcome;
  return job.changePaths({"rm", "-q", "-f"}, {path}, asArguments);
}

ActionOutcome showSubmoduleSettings(ActionJob& job) {
  const std::string folder = job.workingCopy().root + "/" + job.target().submodule->path;
  std::error_code ignored;
  if (!std::filesystem::exists(folder + "/.git", ignored))
    return ActionOutcome::failed("The submodule " + job.target().name + " is not checked out.");
  return job.openWindowIn(folder, "git gui");
}

constexpr ActionRule kSubmoduleActions[] = {
    {.action = "addSubmodule:", .label = "Add Submodule", .work = addSubmodule},
    {.action = "deleteSubmodules:",
     .label = "Delete Submodule",
     .subject = ActionSubject::Submodule,
     .question = "Delete the submodule %@ and its folder?\n\nChanges in it that are not committed "
                 "will be lost.",
     .work = deleteSubmodule},
    {.action = "showSubmoduleSettings:",
     .label = "Submodule Settings",
     .subject = ActionSubject::Submodule,
     .work = showSubmoduleSettings},
};

}  // namespace

std::span<const ActionRule> submoduleActions() { return kSubmoduleActions; }

}  // namespace kelpie::agent
