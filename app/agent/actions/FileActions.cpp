#include "agent/actions/FileActions.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/git/HeadTree.h"
#include "agent/git/IgnoreFile.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;

constexpr const char* kNoStatus = "The status could not be read. Nothing was done.";

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
  return job.changePaths({"add", "--all"}, paths);
}

ActionOutcome unstage(ActionJob& job) {
  const Paths paths = withFormerPaths(job.status(), job.target().paths, KPStatusIndexRenamed);
  return job.changePaths({"reset", "-q"}, paths);
}

// What goes back to the last commit, what is deleted since it was not there, and the submodules
// that go back to the commit they had.
struct Discarded {
  Paths inHead;
  Paths others;
  Paths submodules;
  std::size_t changed = 0;
};

Discarded discardedOf(const StatusSnapshot& status, const Paths& paths, const HeadTree& head) {
  Discarded discarded;
  const auto add = [&](const std::string& path) {
    if (head.isSubmodule(path)) discarded.submodules.push_back(path);
    (head.has(path) ? discarded.inHead : discarded.others).push_back(path);
  };
  forEachItem(status, paths, [&](const StatusItem& item) {
    if (item.word == KPStatusIgnored) return;
    ++discarded.changed;
    add(item.path);
    if (!item.renamedFrom.empty() && (item.word & (KPStatusIndexRenamed | KPStatusWorkdirRenamed)))
      add(item.renamedFrom);
  });
  return discarded;
}

std::string discardQuestion(const ActionJob& job, const Discarded& what) {
  const bool all = job.target().paths.empty();
  std::string text = all ? "Discard all changes?" : "Discard changes in " + job.target().name + "?";
  text += "\n\n" + std::to_string(what.changed) + " changed item(s) in all.";
  if (!what.others.empty())
    text += " " + std::to_string(what.others.size()) +
            " of them are not in the last commit and will be deleted.";
  return text + " This cannot be undone.";
}

ActionOutcome resetSubmodules(ActionJob& job, const Paths& submodules) {
  Paths present;
  for (const std::string& path : submodules) {
    std::error_code ignored;
    if (fs::exists(fs::path(job.workingCopy().root) / path / ".git", ignored))
      present.push_back(path);
  }
  if (present.empty()) return ActionOutcome::done();
  return job.changePaths({"submodule", "update", "--checkout", "--force", "--recursive"}, present,
                         GitCommand::Paths::AsArguments);
}

// Each step makes sense without those after it, so that a failure leaves nothing in between.
ActionOutcome discardNow(ActionJob& job, const Discarded& what, const Paths& scope) {
  Paths everything = what.inHead;
  everything.insert(everything.end(), what.others.begin(), what.others.end());
  if (ActionOutcome outcome = job.changePaths({"reset", "-q"}, everything); !outcome.isDone())
    return outcome;
  // The index has them as the commit has them now. Told so, git looks up each path; as patterns it
  // would try each of thousands on every file.
  if (!what.inHead.empty())
    if (ActionOutcome outcome = job.changePaths({"checkout-index", "-q", "-f", "-u"}, what.inHead,
                                                GitCommand::Paths::AsArguments);
        !outcome.isDone())
      return outcome;
  if (ActionOutcome outcome = resetSubmodules(job, what.submodules); !outcome.isDone())
    return outcome;
  if (what.others.empty()) return ActionOutcome::done();
  return job.changePaths({"clean", "-q", "-f", "-d"}, scope, GitCommand::Paths::AsArguments);
}

ActionOutcome discard(ActionJob& job) {
  const StatusSnapshot* status = job.freshStatus();
  const std::optional<HeadTree> head = HeadTree::read(job.git());
  if (status == nullptr || !head) return ActionOutcome::failed(kNoStatus);
  const Discarded what = discardedOf(*status, job.target().paths, *head);
  if (what.changed == 0) return ActionOutcome::failed("There are no changes to discard.");
  if (std::optional<ActionOutcome> no = job.refused(discardQuestion(job, what))) return *no;
  return discardNow(job, what, job.target().paths);
}

ActionOutcome discardAll(ActionJob& job) {
  const StatusSnapshot* status = job.freshStatus();
  const std::optional<HeadTree> head = HeadTree::read(job.git());
  if (status == nullptr || !head) return ActionOutcome::failed(kNoStatus);
  const Discarded what = discardedOf(*status, {"."}, *head);
  if (what.changed == 0) return ActionOutcome::failed("There are no changes to discard.");
  if (std::optional<ActionOutcome> no = job.refused(discardQuestion(job, what))) return *no;
  // It also ends a merge that is under way, which going file by file would not.
  if (ActionOutcome outcome = job.change({"reset", "-q", "--hard"}); !outcome.isDone())
    return outcome;
  if (ActionOutcome outcome = resetSubmodules(job, what.submodules); !outcome.isDone())
    return outcome;
  if (what.others.empty()) return ActionOutcome::done();
  return job.change({"clean", "-q", "-f", "-d"});
}

ActionOutcome revert(ActionJob& job) {
  const StatusSnapshot* status = job.freshStatus();
  if (status == nullptr) return ActionOutcome::failed(kNoStatus);
  std::size_t changed = 0;
  forEachItem(*status, job.target().paths, [&](const StatusItem& item) {
    if (item.word != KPStatusIgnored && item.word != KPStatusWorkdirNew) ++changed;
  });
  const Reference& reference = *job.target().reference;
  // What is committed can be had back.
  if (changed > 0)
    if (std::optional<ActionOutcome> no =
            job.refused("Revert the selected items to \"" + reference.shortName + "\"?\n\n" +
                        std::to_string(changed) +
                        " of them have changes that are not committed, which will be lost."))
      return *no;
  return job.changePaths({"checkout", "-q", reference.fullName}, job.target().paths);
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
    {.action = "discard:", .label = "Discard", .subject = ActionSubject::Files, .work = discard},
    {.action = "discardAll:", .label = "Discard All", .work = discardAll},
    {.action = "revertItems:",
     .label = "Revert",
     .subject = ActionSubject::FilesAndReference,
     .work = revert},
    {.action = "ignoreItems:", .label = "Ignore", .subject = ActionSubject::Files, .work = ignore},
    {.action = "excludeItems:",
     .label = "Exclude",
     .subject = ActionSubject::Files,
     .work = exclude},
    // Without force: git itself refuses when that would lose staged content.
    {.action = "untrackItems:",
     .label = "Untrack",
     .subject = ActionSubject::Files,
     .git = "rm -r -q --cached --ignore-unmatch"},
};

}  // namespace

std::span<const ActionRule> fileActions() { return kFileActions; }

}  // namespace kelpie::agent
