#include "agent/actions/ActionGroups.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/DiscardPlanner.h"
#include "agent/actions/IndexListing.h"
#include "agent/actions/KeptChanges.h"
#include "agent/actions/SafeReplacement.h"
#include "agent/actions/UndoAction.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Paths = std::vector<std::string>;
using Site = SafeReplacement::Site;
using Sites = SafeReplacement::Sites;
using Planned = std::variant<Sites, ActionOutcome>;

constexpr const char* kNoChanges = "There are no changes to discard.";

// -- Discarding ----------------------------------------------------------------------------------

Planned planDiscard(const ActionJob& job, const Paths& within) {
  DiscardPlanner planner(job.git());
  if (!planner.plan(job.workingCopy(), within)) return ActionOutcome::noStatus();
  Sites sites = std::move(planner).take();
  if (sites.front().plan.items.empty()) return ActionOutcome::failed(kNoChanges);
  return sites;
}

std::string discardQuestion(const std::string& headline, const Sites& sites) {
  const PathPlan& plan = sites.front().plan;
  const auto deleted = std::ranges::count_if(
      plan.items, [&plan](const std::string& path) { return plan.removes(path); });
  std::string text =
      headline + "\n\n" + std::to_string(plan.items.size()) + " changed item(s) in all.";
  if (deleted > 0)
    text +=
        " " + std::to_string(deleted) + " of them are not in the last commit and will be deleted.";
  std::size_t inSubmodules = 0;
  for (std::size_t i = 1; i < sites.size(); ++i) inSubmodules += sites[i].plan.items.size();
  if (inSubmodules > 0) text += " In submodules, " + std::to_string(inSubmodules) + " more.";
  return text;
}

// Without force: a submodule is left where that would overwrite something; and without fetching,
// since nobody has looked what a commit would overwrite that is not there yet.
ActionOutcome updateSubmodules(const ActionJob& job, const Site& site) {
  Paths present;
  for (const auto& [path, target] : site.plan.targets) {
    std::error_code ignored;
    if (target && target->isSubmodule() &&
        fs::exists(fs::path(site.workingCopy.root) / path / ".git", ignored))
      present.push_back(path);
  }
  if (present.empty()) return ActionOutcome::done();
  return job.changePaths({"submodule", "update", "--no-fetch", "--checkout", "--recursive"},
                         present, GitCommand::Paths::AsArguments);
}

ActionOutcome discardNow(const ActionJob& job, const Sites& sites) {
  for (std::size_t i = sites.size(); i-- > 0;) {
    const GitCommand git = job.git().within(sites[i].workingCopy);
    if (ActionOutcome outcome = SafeReplacement::replace(git, sites[i]); !outcome.isDone())
      return outcome;
  }
  return updateSubmodules(job, sites.front());
}

ActionOutcome discard(ActionJob& job) {
  const Paths within = job.target().paths;
  return SafeReplacement::run(
      job, {.plan = [&] { return planDiscard(job, within); },
            .question =
                [&](const Sites& sites) {
                  return discardQuestion("Discard changes in " + job.target().name + "?", sites);
                },
            .carryOut = [&](const Sites& sites) { return discardNow(job, sites); }});
}

// Ends a merge or pick of which nothing is left; it goes on if its files were changed anew.
ActionOutcome endMerge(const ActionJob& job) {
  const auto& names = KeptChanges::stateFiles();
  const bool isUnderWay = std::ranges::any_of(names, [&](const std::string& name) {
    std::error_code ignored;
    return fs::exists(fs::path(job.workingCopy().gitDirectory) / name, ignored);
  });
  if (!isUnderWay || !job.hasHeadCommit() ||
      !job.git().ask({"diff-index", "--cached", "--quiet", "HEAD", "--"}).succeeded())
    return ActionOutcome::done();
  return job.change({"reset", "-q"});
}

ActionOutcome discardAll(ActionJob& job) {
  return SafeReplacement::run(
      job, {.plan = [&] { return planDiscard(job, {"."}); },
            .question =
                [&](const Sites& sites) { return discardQuestion("Discard all changes?", sites); },
            .carryOut =
                [&](const Sites& sites) {
                  ActionOutcome outcome = discardNow(job, sites);
                  return outcome.isDone() ? endMerge(job) : outcome;
                }});
}

// -- Reverting -----------------------------------------------------------------------------------

// The selected paths that the commit does not have; git would refuse them, too.
std::optional<std::string> missingIn(const TreeListing& tree, const Paths& paths) {
  std::set<std::string> there = {"."};
  for (const auto& [path, entry] : tree.entries())
    for (std::size_t end = path.size(); end != std::string::npos && end > 0;
         end = path.rfind('/', end - 1))
      there.insert(path.substr(0, end));
  const auto missing = std::ranges::find_if(
      paths, [&there](const std::string& path) { return !there.contains(path); });
  if (missing == paths.end()) return std::nullopt;
  return *missing;
}

Planned planRevert(const ActionJob& job) {
  const Paths& paths = job.target().paths;
  const Reference& reference = *job.target().reference;
  const PathScope scope(paths);
  const auto selected = [&scope](std::string_view path) { return scope.contains(path); };
  Site site{job.workingCopy(), {}, SafeReplacement::statusOf(job.git(), job.workingCopy())};
  const auto tree = TreeListing::read(job.git(), reference.fullName, selected);
  const auto index = IndexListing::read(job.git(), selected);
  if (site.status == nullptr || !tree || !index) return ActionOutcome::noStatus();
  if (const auto missing = missingIn(*tree, paths))
    return ActionOutcome::failed("\"" + *missing + "\" is not in \"" + reference.shortName +
                                 "\". Nothing was done.");
  for (const auto& [path, entry] : tree->entries()) {
    const bool isThere = site.status->itemAt(path) == nullptr &&
                         index->at(path) == std::vector<IndexEntry>{{entry, 0}} &&
                         !index->isAssumedUnchanged(path);
    if (isThere) continue;
    site.plan.targets.emplace(path, entry);
    site.plan.items.insert(path);
  }
  return Sites{std::move(site)};
}

std::string revertQuestion(const ActionJob& job, const Sites& sites) {
  const PathSurvey& survey = sites.front().survey;
  const auto unknown = std::ranges::count_if(
      survey.atStake(), [&](const std::string& path) { return survey.at(path).index.empty(); });
  const auto changed = static_cast<std::ptrdiff_t>(survey.atStake().size()) - unknown;
  if (survey.atStake().empty()) return {};
  std::string text =
      "Revert the selected items to \"" + job.target().reference->shortName + "\"?\n";
  if (changed > 0)
    text += "\n" + std::to_string(changed) +
            " of them have changes that are not committed, which will be replaced.";
  if (unknown > 0)
    text += "\n" + std::to_string(unknown) +
            " file(s) that are untracked or ignored will be overwritten.";
  return text;
}

ActionOutcome revert(ActionJob& job) {
  return SafeReplacement::run(
      job,
      {.plan = [&] { return planRevert(job); },
       .question = [&](const Sites& sites) { return revertQuestion(job, sites); },
       .carryOut =
           [&](const Sites& sites) { return SafeReplacement::replace(job.git(), sites.front()); }});
}

constexpr ActionRule kDiscardActions[] = {
    {.action = "discard:", .label = "Discard", .subject = ActionSubject::Files, .work = discard},
    {.action = "discardAll:", .label = "Discard All", .work = discardAll},
    {.action = "revertItems:",
     .label = "Revert",
     .subject = ActionSubject::FilesAndReference,
     .work = revert},
    {.action = "undoDiscard:", .label = "Undo", .work = undoDiscard},
};

}  // namespace

std::span<const ActionRule> discardActions() { return kDiscardActions; }

}  // namespace kelpie::agent
