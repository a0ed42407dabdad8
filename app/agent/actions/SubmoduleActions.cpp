#include "agent/actions/ActionGroups.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>

#include "agent/actions/ActionJob.h"
#include "agent/actions/DiscardPlanner.h"
#include "agent/actions/SafeReplacement.h"

namespace kelpie::agent {
namespace {

// The name that git would give the folder of a clone.
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

// The content of the submodule that is in none of its commits.
std::variant<SafeReplacement::Sites, ActionOutcome> changesIn(const ActionJob& job,
                                                              const std::string& path) {
  const std::string root = job.workingCopy().root + "/" + path;
  std::error_code ignored;
  if (!std::filesystem::exists(root + "/.git", ignored)) return SafeReplacement::Sites();
  const auto found = WorkingCopyFinder(job.git()).find(root).workingCopy;
  DiscardPlanner planner(job.git(), DiscardPlanner::InSubmodules::Untracked);
  if (!found || found->root != root || !planner.planSubmodule(*found))
    return ActionOutcome::failed("The status of the submodule could not be read.");
  return std::move(planner).take();
}

std::string deletionQuestion(const ActionJob& job, const SafeReplacement::Sites& sites) {
  std::size_t changed = 0;
  for (const SafeReplacement::Site& site : sites) changed += site.plan.items.size();
  std::string text =
      "Delete the submodule " + job.target().name + " and its folder, with what is ignored in it?";
  if (changed > 0)
    text += "\n\n" + std::to_string(changed) +
            " changed item(s) in it are not committed and will be deleted.";
  return text;
}

// The submodule's own repository stays in the git directory, and with it what was never pushed and
// what is put aside.
ActionOutcome deleteSubmodule(ActionJob& job) {
  const std::string path = job.target().submodule->path;
  const auto asArguments = GitCommand::Paths::AsArguments;
  return SafeReplacement::run(
      job, {.plan = [&] { return changesIn(job, path); },
            .question =
                [&](const SafeReplacement::Sites& sites) { return deletionQuestion(job, sites); },
            .carryOut =
                [&](const SafeReplacement::Sites&) {
                  ActionOutcome outcome = job.changePaths({"submodule", "--quiet", "deinit", "-f"},
                                                          {path}, asArguments);
                  return outcome.isDone() ? job.changePaths({"rm", "-q", "-f"}, {path}, asArguments)
                                          : outcome;
                },
            .touchesAll = true});
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
     .work = deleteSubmodule},
    {.action = "showSubmoduleSettings:",
     .label = "Submodule Settings",
     .subject = ActionSubject::Submodule,
     .work = showSubmoduleSettings},
};

}  // namespace

std::span<const ActionRule> submoduleActions() { return kSubmoduleActions; }

}  // namespace kelpie::agent
