#include "agent/actions/ConflictActions.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/git/Conflicts.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

// The tags of the menu's entries.
constexpr std::int64_t kPlain = 0;
constexpr std::int64_t kDetails = 5;

// The versions that a tag chooses, as git numbers the stages of a conflict.
struct Version {
  std::int64_t tag;
  int stage;
  const char* name;
};
constexpr std::array<Version, 3> kVersions = {
    {{1, 2, "our version"}, {2, 3, "their version"}, {3, 1, "the common ancestor"}}};

const Version* versionOf(std::int64_t tag) {
  const auto* found = std::ranges::find(kVersions, tag, &Version::tag);
  return found == kVersions.end() ? nullptr : found;
}

constexpr const char* kNoConflict = "There is no conflict there any more. Nothing was done.";
constexpr const char* kSubmodule =
    "A conflict of submodules is resolved by checking out a commit in the submodule.";

// Puts the files of that version into the working folder.
ActionOutcome takeStage(ActionJob& job, int stage, const Paths& paths) {
  if (paths.empty()) return ActionOutcome::done();
  return job.changePaths({"checkout-index", "-q", "-f", "--stage=" + std::to_string(stage)}, paths,
                         GitCommand::Paths::AsArguments);
}

std::string questionOf(const ActionJob& job, const std::string& what) {
  return what + " " + job.target().name + "?\n\nWhat the working folder has there will be lost.";
}

ActionOutcome resolveUsing(ActionJob& job, const Version& version) {
  const Conflicts conflicts = Conflicts::read(job.git(), job.target().paths);
  if (conflicts.paths().empty()) return ActionOutcome::failed(kNoConflict);
  if (conflicts.hasSubmodule()) return ActionOutcome::failed(kSubmodule);
  if (const auto no = job.refused(questionOf(job, std::string("Use ") + version.name + " of")))
    return *no;
  const Paths present = conflicts.withStage(version.stage);
  const Paths missing = conflicts.withoutStage(version.stage);
  if (ActionOutcome outcome = takeStage(job, version.stage, present); !outcome.isDone())
    return outcome;
  if (!present.empty())
    if (ActionOutcome outcome = job.changePaths({"add"}, present); !outcome.isDone())
      return outcome;
  if (missing.empty()) return ActionOutcome::done();
  return job.changePaths({"rm", "-q", "-f"}, missing);
}

ActionOutcome resolve(ActionJob& job) {
  if (job.request().tag == kPlain) return job.changePaths({"add", "--all"}, job.target().paths);
  if (job.request().tag == kDetails) return job.openWindow("git mergetool -g -y -- %p");
  if (const Version* version = versionOf(job.request().tag)) return resolveUsing(job, *version);
  return ActionOutcome::failed("There is no such way to resolve a conflict.");
}

// The conflict as git left it: both versions in one file with marks, or the one version there is.
ActionOutcome restoreUnmerged(ActionJob& job, const Conflicts& conflicts) {
  const Paths marked = conflicts.withStages(2, 3);
  if (!marked.empty())
    if (ActionOutcome outcome = job.changePaths({"checkout", "-q", "--merge"}, marked);
        !outcome.isDone())
      return outcome;
  for (const int stage : {2, 3}) {
    Paths only = conflicts.withStage(stage);
    std::erase_if(only, [&](const std::string& path) { return conflicts.has(path, 5 - stage); });
    if (ActionOutcome outcome = takeStage(job, stage, only); !outcome.isDone()) return outcome;
  }
  return ActionOutcome::done();
}

ActionOutcome restoreVersion(ActionJob& job, const Conflicts& conflicts, const Version& version) {
  for (const std::string& path : conflicts.withoutStage(version.stage)) {
    std::error_code error;
    const fs::path file = fs::path(job.workingCopy().root) / path;
    fs::remove(file, error);
    if (error) return ActionOutcome::failed(file.string() + ": " + error.message());
  }
  return takeStage(job, version.stage, conflicts.withStage(version.stage));
}

ActionOutcome restore(ActionJob& job) {
  const Version* version = versionOf(job.request().tag);
  if (version == nullptr && job.request().tag != kPlain)
    return ActionOutcome::failed("There is no such way to restore a conflict.");
  const Conflicts conflicts = Conflicts::read(job.git(), job.target().paths);
  if (conflicts.paths().empty()) return ActionOutcome::failed(kNoConflict);
  if (conflicts.hasSubmodule()) return ActionOutcome::failed(kSubmodule);
  const std::string what = version == nullptr ? "the conflict" : std::string(version->name);
  if (const auto no = job.refused(questionOf(job, "Restore " + what + " of"))) return *no;
  return version == nullptr ? restoreUnmerged(job, conflicts)
                            : restoreVersion(job, conflicts, *version);
}

constexpr ActionRule kConflictActions[] = {
    {.action = "resolve:", .label = "Resolve", .subject = ActionSubject::Files, .work = resolve},
    {.action = "restore:", .label = "Restore", .subject = ActionSubject::Files, .work = restore},
};

}  // namespace

std::span<const ActionRule> conflictActions() { return kConflictActions; }

}  // namespace kelpie::agent
