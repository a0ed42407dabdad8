#include "agent/actions/ActionGroups.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/Staging.h"
#include "agent/git/IgnoreFile.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

// Calls `visit` with each changed item that the paths name or hold, once.
template <class Visit>
void forEachItem(const StatusSnapshot& status, const Paths& paths, Visit visit) {
  const PathScope scope(paths);
  for (const StatusItem& item : status.items())
    if (scope.contains(item.path)) visit(item);
}

// The paths, and those that renamed items among them had before: git knows a rename as two changes.
Paths withFormerPaths(const StatusSnapshot* status, Paths paths, StatusWord renamed) {
  if (status == nullptr) return paths;
  Paths former;
  forEachItem(*status, paths, [&](const StatusItem& item) {
    if ((item.word & renamed) != 0 && !item.renamedFrom.empty()) former.push_back(item.renamedFrom);
  });
  paths.insert(paths.end(), former.begin(), former.end());
  return paths;
}

ActionOutcome stage(ActionJob& job) {
  const Paths paths = withFormerPaths(job.status(), job.target().paths, KPStatusWorkdirRenamed);
  return Staging(job.git()).stage(paths);
}

ActionOutcome unstage(ActionJob& job) {
  const Paths paths = withFormerPaths(job.status(), job.target().paths, KPStatusIndexRenamed);
  return Staging(job.git()).unstage(paths);
}

ActionOutcome addPatterns(ActionJob& job, const std::string& file) {
  std::vector<std::string> patterns;
  for (const std::string& path : job.target().paths) {
    std::error_code ignored;
    const fs::file_status there =
        fs::symlink_status(fs::path(job.workingCopy().root) / path, ignored);
    std::optional<std::string> pattern = ignorePattern(path, fs::is_directory(there));
    if (!pattern) return ActionOutcome::failed("\"" + path + "\" cannot be named by a pattern.");
    patterns.push_back(*std::move(pattern));
  }
  std::string why = addIgnorePatterns(file, patterns);
  return why.empty() ? ActionOutcome::done() : ActionOutcome::failed(std::move(why));
}

ActionOutcome ignore(ActionJob& job) {
  return addPatterns(job, job.workingCopy().root + "/.gitignore");
}

ActionOutcome exclude(ActionJob& job) {
  return addPatterns(job, job.workingCopy().commonDirectory + "/info/exclude");
}

constexpr ActionRule kFileActions[] = {
    {.action = "stage:", .label = "Stage", .subject = ActionSubject::Files, .work = stage},
    {.action = "unstage:", .label = "Unstage", .subject = ActionSubject::Files, .work = unstage},
    {.action = "ignoreItems:", .label = "Ignore", .subject = ActionSubject::Files, .work = ignore},
    {.action = "excludeItems:",
     .label = "Exclude",
     .subject = ActionSubject::Files,
     .work = exclude},
    // Without force: git itself refuses if that would lose staged content.
    {.action = "untrackItems:",
     .label = "Untrack",
     .subject = ActionSubject::Files,
     .git = "rm -r -q --cached --ignore-unmatch"},
};

}  // namespace

std::span<const ActionRule> fileActions() { return kFileActions; }

}  // namespace kelpie::agent
