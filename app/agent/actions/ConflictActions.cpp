#include "agent/actions/ActionGroups.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/IndexListing.h"
#include "agent/actions/SafeReplacement.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;
using Site = SafeReplacement::Site;
using Sites = SafeReplacement::Sites;

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

// The conflicts that the target names or holds. Absent when git does not tell.
std::optional<IndexListing> conflictsOf(const ActionJob& job) {
  const PathScope scope(job.target().paths);
  return IndexListing::read(
      job.git(), [&scope](std::string_view path) { return scope.contains(path); },
      IndexListing::Stages::Conflicts);
}

// -- Marking as resolved -------------------------------------------------------------------------

// Whether a line of the file begins like one of those that git puts around both versions. A file is
// read in pieces, so that its size does not matter.
bool holdsConflictMarks(const fs::path& path) {
  constexpr std::array<std::string_view, 2> kMarks = {"<<<<<<< ", ">>>>>>> "};
  std::ifstream file(path, std::ios::binary);
  std::vector<char> piece(std::size_t{64} << 10U);
  std::string line;  // the beginning of the current one
  while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())) || file.gcount() > 0) {
    for (const char each :
         std::string_view(piece.data(), static_cast<std::size_t>(file.gcount()))) {
      if (each == '\n')
        line.clear();
      else if (line.size() <= kMarks[0].size())
        line += each;
      if (line.size() == kMarks[0].size() && std::ranges::find(kMarks, line) != kMarks.end())
        return true;
    }
  }
  return false;
}

// The conflicts whose files still show both versions.
Paths unresolvedOf(const ActionJob& job, const IndexListing& conflicts) {
  WorkingFiles files(job.workingCopy().root);
  Paths unresolved;
  for (const auto& [path, entries] : conflicts.entries())
    if (files.look(path).kind == WorkingFiles::Kind::File &&
        holdsConflictMarks(fs::path(job.workingCopy().root) / path))
      unresolved.push_back(path);
  std::ranges::sort(unresolved);
  return unresolved;
}

// Exactly the conflicts, and nothing else that lies beside them.
ActionOutcome stageConflicts(const ActionJob& job, const IndexListing& conflicts) {
  WorkingFiles files(job.workingCopy().root);
  Paths present;
  Paths submodules;
  Paths gone;
  for (const auto& [path, entries] : conflicts.entries()) {
    const WorkingFiles::Presence there = files.look(path);
    const bool isSubmodule = std::ranges::any_of(
        entries, [](const IndexEntry& each) { return each.entry.isSubmodule(); });
    if (there.isContent())
      present.push_back(path);
    else
      (isSubmodule && there.kind == WorkingFiles::Kind::Folder ? submodules : gone).push_back(path);
  }
  if (ActionOutcome outcome = SafeReplacement::setIndex(job.git(), gone, ""); !outcome.isDone())
    return outcome;
  if (!submodules.empty())
    if (ActionOutcome outcome = job.changePaths({"add"}, submodules); !outcome.isDone())
      return outcome;
  if (present.empty()) return ActionOutcome::done();
  std::string input;
  for (const std::string& path : present) input += path + '\0';
  return ActionOutcome::of(
      job.git().changeWith({"update-index", "--add", "-z", "--stdin"}, {std::move(input), {}}));
}

ActionOutcome markAsResolved(ActionJob& job) {
  Paths agreed;
  for (;;) {
    const std::optional<IndexListing> conflicts = conflictsOf(job);
    if (!conflicts) return ActionOutcome::noStatus();
    if (conflicts->entries().empty()) return ActionOutcome::failed(kNoConflict);
    const Paths unresolved = unresolvedOf(job, *conflicts);
    // The files that were asked about are looked at again after the answer.
    if (std::ranges::includes(agreed, unresolved)) return stageConflicts(job, *conflicts);
    std::string question =
        "Mark " + job.target().name + " as resolved?\n\n" + std::to_string(unresolved.size()) +
        " file(s) still hold the marks of the conflict, such as \"" + unresolved.front() + "\".";
    if (std::optional<ActionOutcome> no = job.refused(question)) return *no;
    agreed = unresolved;
  }
}

// -- Taking a version ----------------------------------------------------------------------------

const TreeEntry* versionIn(const std::vector<IndexEntry>& entries, int stage) {
  const auto found = std::ranges::find(entries, stage, &IndexEntry::stage);
  return found == entries.end() ? nullptr : &found->entry;
}

// Plans to give each conflict's file the first of these stages that the conflict has.
std::variant<Sites, ActionOutcome> planStages(const ActionJob& job,
                                              const std::vector<int>& stages) {
  Site site{job.workingCopy(), {}, SafeReplacement::statusOf(job.git(), job.workingCopy())};
  const std::optional<IndexListing> conflicts = conflictsOf(job);
  if (site.status == nullptr || !conflicts) return ActionOutcome::noStatus();
  if (conflicts->entries().empty()) return ActionOutcome::failed(kNoConflict);
  for (const auto& [path, entries] : conflicts->entries()) {
    std::optional<TreeEntry>& target = site.plan.targets[path];
    for (const IndexEntry& each : entries)
      if (each.entry.isSubmodule()) return ActionOutcome::failed(kSubmodule);
    for (const int stage : stages)
      if (const TreeEntry* entry = versionIn(entries, stage); entry != nullptr && !target)
        target = *entry;
    site.plan.items.insert(path);
  }
  return Sites{std::move(site)};
}

std::string questionOf(const ActionJob& job, const std::string& what, const Sites& sites) {
  const std::size_t count = sites.front().plan.items.size();
  return what + " " + job.target().name +
         "?\n\nWhat the working folder has there will be lost: " + std::to_string(count) +
         (count == 1 ? " file." : " files.");
}

ActionOutcome resolveUsing(ActionJob& job, const Version& version) {
  return SafeReplacement::run(
      job,
      {.plan = [&] { return planStages(job, {version.stage}); },
       .question =
           [&](const Sites& sites) {
             return questionOf(job, std::string("Use ") + version.name + " of", sites);
           },
       .carryOut =
           [&](const Sites& sites) { return SafeReplacement::replace(job.git(), sites.front()); }});
}

ActionOutcome resolve(ActionJob& job) {
  if (job.request().tag == kPlain) return markAsResolved(job);
  if (job.request().tag == kDetails) return job.openWindow("git mergetool -g -y -- %p");
  if (const Version* version = versionOf(job.request().tag)) return resolveUsing(job, *version);
  return ActionOutcome::failed("There is no such way to resolve a conflict.");
}

// Puts the files of that stage into the working folder, and leaves the index alone.
ActionOutcome useStage(const ActionJob& job, int stage, const Paths& paths) {
  if (paths.empty()) return ActionOutcome::done();
  std::string input;
  for (const std::string& path : paths) input += path + '\0';
  return ActionOutcome::of(job.git().changeWith(
      {"checkout-index", "-q", "-f", "--stage=" + std::to_string(stage), "-z", "--stdin"},
      {std::move(input), {}}));
}

// The conflict as git left it: both versions in one file with marks, or the one version there is.
ActionOutcome restoreUnmerged(const ActionJob& job, const Site& site) {
  Paths marked;
  std::array<Paths, 4> only;
  for (const auto& [path, target] : site.plan.targets) {
    const std::vector<IndexEntry>& entries = site.survey.at(path).index;
    const bool ours = versionIn(entries, 2) != nullptr;
    const bool theirs = versionIn(entries, 3) != nullptr;
    if (ours && theirs)
      marked.push_back(path);
    else if (ours || theirs)
      only.at(ours ? 2 : 3).push_back(path);
  }
  if (!marked.empty())
    if (ActionOutcome outcome = job.changePaths({"checkout", "-q", "--merge"}, marked);
        !outcome.isDone())
      return outcome;
  for (const int stage : {2, 3})
    if (ActionOutcome outcome = useStage(job, stage, only.at(static_cast<std::size_t>(stage)));
        !outcome.isDone())
      return outcome;
  return ActionOutcome::done();
}

ActionOutcome restoreVersion(const ActionJob& job, const Site& site, const Version& version) {
  WorkingFiles files(job.workingCopy().root);
  Paths present;
  for (const auto& [path, target] : site.plan.targets) {
    const WorkingFiles::Presence& there = site.survey.at(path).presence;
    if (target)
      present.push_back(path);
    else if (there.isContent())
      if (std::string problem = files.remove(path, there.print); !problem.empty())
        return ActionOutcome::failed(std::move(problem));
  }
  return useStage(job, version.stage, present);
}

ActionOutcome restore(ActionJob& job) {
  const Version* version = versionOf(job.request().tag);
  if (version == nullptr && job.request().tag != kPlain)
    return ActionOutcome::failed("There is no such way to restore a conflict.");
  const std::vector<int> stages =
      version == nullptr ? std::vector<int>{2, 3} : std::vector<int>{version->stage};
  const std::string what = version == nullptr ? "the conflict" : std::string(version->name);
  return SafeReplacement::run(
      job,
      {.plan = [&] { return planStages(job, stages); },
       .question =
           [&](const Sites& sites) { return questionOf(job, "Restore " + what + " of", sites); },
       .carryOut =
           [&](const Sites& sites) {
             return version == nullptr ? restoreUnmerged(job, sites.front())
                                       : restoreVersion(job, sites.front(), *version);
           }});
}

constexpr ActionRule kConflictActions[] = {
    {.action = "resolve:", .label = "Resolve", .subject = ActionSubject::Files, .work = resolve},
    {.action = "restore:", .label = "Restore", .subject = ActionSubject::Files, .work = restore},
};

}  // namespace

std::span<const ActionRule> conflictActions() { return kConflictActions; }

}  // namespace kelpie::agent
