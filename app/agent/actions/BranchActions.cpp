#include "agent/actions/ActionGroups.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/IncomingFiles.h"
#include "agent/actions/IndexListing.h"
#include "agent/actions/IndexLock.h"
#include "agent/actions/SafeReplacement.h"
#include "agent/actions/TreeListing.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// How far a reset goes, in the order in which the user is offered it.
struct ResetKind {
  std::string_view option;
  const char* words;
};
constexpr std::string_view kHard = "--hard";
constexpr std::array<ResetKind, 3> kResets = {{
    {"--mixed", "Mixed: keep the files as they are, reset what is staged"},
    {"--soft", "Soft: keep the files and what is staged"},
    {kHard, "Hard: reset everything; changes that are not committed are LOST"},
}};

// Whether one of the others lies below the path, or the path below one of them.
bool givesWay(const std::string& path, const std::set<std::string>& others) {
  const auto below = others.lower_bound(path + "/");
  if (below != others.end() && below->starts_with(path + "/")) return true;
  for (std::size_t cut = path.rfind('/'); cut != std::string::npos && cut > 0;
       cut = path.rfind('/', cut - 1))
    if (others.contains(path.substr(0, cut))) return true;
  return false;
}

// What a hard reset replaces: all changes of tracked files, and what stands in the place of files
// that the commit has and the index does not.
std::variant<SafeReplacement::Sites, ActionOutcome> planHardReset(const ActionJob& job) {
  const auto any = [](std::string_view) { return true; };
  SafeReplacement::Site site{
      job.workingCopy(), {}, SafeReplacement::statusOf(job.git(), job.workingCopy())};
  const auto tree = TreeListing::read(job.git(), job.target().reference->fullName, any);
  const auto index = IndexListing::read(job.git(), any);
  if (site.status == nullptr || !tree || !index)
    return ActionOutcome::failed("The status could not be read. Nothing was done.");
  const auto add = [&](const std::string& path) {
    const TreeEntry* entry = tree->find(path);
    site.plan.targets.emplace(path, entry == nullptr ? std::nullopt : std::optional(*entry));
    site.plan.items.insert(path);
  };
  for (const StatusItem& item : site.status->items())
    if (item.word != KPStatusIgnored && item.word != KPStatusWorkdirNew) {
      add(item.path);
      if (!item.renamedFrom.empty()) add(item.renamedFrom);
    }
  std::set<std::string> incoming;
  for (const auto& [path, entry] : tree->entries())
    if (index->at(path).empty()) incoming.insert(path);
  for (const std::string& path : incoming) add(path);
  // A file that is removed is not in the way of one that comes.
  for (const auto& [path, entries] : index->entries())
    if (tree->find(path) == nullptr && givesWay(path, incoming))
      site.plan.targets.emplace(path, std::nullopt);
  return SafeReplacement::Sites{std::move(site)};
}

std::string hardResetQuestion(const ActionJob& job, const SafeReplacement::Sites& sites) {
  const std::size_t count = sites.front().survey.atStake().size();
  if (count == 0) return {};
  return "Reset everything to " + job.target().name + "?\n\n" + std::to_string(count) +
         " item(s) are changed and not committed, or untracked, and will be replaced.";
}

ActionOutcome resetHard(ActionJob& job) {
  return SafeReplacement::run(
      job, {.plan = [&] { return planHardReset(job); },
            .question =
                [&](const SafeReplacement::Sites& sites) { return hardResetQuestion(job, sites); },
            .carryOut =
                [&](const SafeReplacement::Sites&) {
                  return IndexLock::change(
                      job.git(), {"reset", "-q", "--hard", job.target().reference->fullName, "--"});
                },
            .touchesAll = true});
}

ActionOutcome reset(ActionJob& job) {
  std::vector<std::string> choices;
  choices.reserve(kResets.size());
  for (const ResetKind& kind : kResets) choices.emplace_back(kind.words);
  const Dialogs::Answer answer =
      Dialogs::choose("Reset the current branch to " + job.target().name + ":", choices);
  if (!answer.given()) return job.unanswered(answer);
  const std::string_view option = kResets.at(answer.choice).option;
  if (option == kHard) return resetHard(job);
  return job.change({"reset", "-q", std::string(option), job.target().reference->fullName, "--"});
}

ActionOutcome checkout(ActionJob& job) {
  const Reference& reference = *job.target().reference;
  return IncomingFiles::checkOut(
      job, reference.fullName,
      {"switch", "-q", "--no-guess", "--end-of-options", reference.shortName});
}

ActionOutcome merge(ActionJob& job) {
  return IncomingFiles::merge(job, job.target().reference->fullName, job.spokenName());
}

ActionOutcome rebase(ActionJob& job) {
  const std::string& onto = job.target().reference->fullName;
  return IncomingFiles::bring(
      job, [&] { return IncomingFiles::byRebase(job.git(), onto, onto); },
      [&](IncomingFiles::Ignored) {
        return job.change({"rebase", "-q", job.spokenName()});
      });
}

// A remote's branch is most often wanted under its own name.
std::string proposedName(ActionJob& job) {
  const Reference& reference = *job.target().reference;
  const ReferencesSnapshot* references = job.references();
  if (reference.kind != ReferenceKind::RemoteBranch || references == nullptr) return {};
  const Remote* remote = references->remoteOf(reference);
  return remote == nullptr ? std::string() : reference.shortName.substr(remote->name.size() + 1);
}

ActionOutcome createBranch(ActionJob& job) {
  const Dialogs::Answer name =
      Dialogs::ask("Name of the new branch from " + job.target().name + ":", proposedName(job));
  if (!name.given()) return job.unanswered(name);
  return job.change({"branch", "-q", "--", name.text, job.target().reference->fullName});
}

ActionOutcome createTag(ActionJob& job) {
  const Dialogs::Answer name =
      Dialogs::ask("Name of the new tag at " + job.target().name + ":", "");
  if (!name.given()) return job.unanswered(name);
  return job.change({"tag", "--", name.text, job.target().reference->fullName});
}

ActionOutcome renameBranch(ActionJob& job) {
  const std::string& before = job.target().reference->shortName;
  const Dialogs::Answer name = Dialogs::ask("New name of the branch:", before);
  if (!name.given()) return job.unanswered(name);
  return job.change({"branch", "-m", "--", before, name.text});
}

// How many commits no other branch or tag has; absent when git does not tell.
std::optional<std::string> commitsOfOnly(const ActionJob& job, const Reference& reference) {
  Arguments arguments = {"rev-list", "--count", reference.fullName, "--not",
                         "--exclude=" + reference.shortName};
  // An exclusion applies to the next kind only.
  if (reference.kind == ReferenceKind::Tag)
    arguments.insert(arguments.end(), {"--tags", "--branches", "--remotes", "--"});
  else
    arguments.insert(arguments.end(), {"--branches", "--remotes", "--tags", "--"});
  const ProgramResult counted = job.git().ask(arguments);
  if (!counted.succeeded()) return std::nullopt;
  return counted.output.substr(0, counted.output.find('\n'));
}

// Asks, and asks again when the reference has moved meanwhile: then other commits are lost.
ActionOutcome deleteReference(const ActionJob& job, const std::string& what,
                              const Arguments& arguments) {
  const Reference& reference = *job.target().reference;
  const auto tip = [&] {
    return job.git().ask({"rev-parse", "--verify", "--quiet", reference.fullName}).output;
  };
  for (std::string before = tip();;) {
    const std::optional<std::string> lost = commitsOfOnly(job, reference);
    std::string question = "Delete the " + what + " " + job.target().name + "?";
    if (lost != "0")
      question +=
          "\n\n" + lost.value_or("Its") + " commit(s) are in no other branch and will be lost.";
    if (std::optional<ActionOutcome> no = job.refused(question)) return *no;
    if (std::string now = tip(); now != before)
      before = std::move(now);
    else
      return job.change(arguments);
  }
}

ActionOutcome deleteBranch(ActionJob& job) {
  return deleteReference(job, "branch",
                         {"branch", "-q", "-D", "--", job.target().reference->shortName});
}

ActionOutcome deleteTag(ActionJob& job) {
  return deleteReference(job, "tag", {"tag", "-d", "--", job.target().reference->shortName});
}

// Only forwards: git refuses anything else by itself.
ActionOutcome fastForward(ActionJob& job) {
  const Reference& branch = *job.target().reference;
  if (branch.upstream.empty())
    return ActionOutcome::failed("The branch " + job.target().name + " tracks no other.");
  if (branch.isHead)
    return IncomingFiles::merge(job, branch.upstream, branch.upstream, {"--ff-only"});
  return job.change({"fetch", "-q", "--", ".", branch.upstream + ":" + branch.fullName});
}

ActionOutcome exportTree(ActionJob& job) {
  const Reference& reference = *job.target().reference;
  std::string name = reference.shortName;
  for (char& each : name)
    if (each == '/') each = '-';
  const fs::path beside = fs::path(job.git().folder()).parent_path() / (name + ".zip");
  const Dialogs::Answer file = Dialogs::saveFile(
      "Export " + reference.shortName + " (.zip, .tar, .tar.gz)", beside.string());
  if (!file.given()) return job.unanswered(file);
  // The name's ending tells the format.
  return job.change(
      {"archive", "--prefix=" + name + "/", "--output=" + file.text, reference.fullName});
}

ActionOutcome applyPatch(ActionJob& job) {
  const Dialogs::Answer file = Dialogs::openFile("Apply Patch", job.git().folder() + "/");
  if (!file.given()) return job.unanswered(file);
  return job.change({"apply", "--", file.text});
}

constexpr ActionRule kBranchActions[] = {
    {.action = "checkout:",
     .label = "Checkout",
     .subject = ActionSubject::LocalBranch,
     .work = checkout},
    {.action = "reset:", .label = "Reset", .subject = ActionSubject::Reference, .work = reset},
    {.action = "merge:", .label = "Merge", .subject = ActionSubject::Reference, .work = merge},
    {.action = "rebase:", .label = "Rebase", .subject = ActionSubject::Reference, .work = rebase},
    {.action = "createBranch:",
     .label = "New Branch",
     .subject = ActionSubject::Reference,
     .work = createBranch},
    {.action = "createTag:",
     .label = "New Tag",
     .subject = ActionSubject::Reference,
     .work = createTag},
    {.action = "renameBranch:",
     .label = "Rename Branch",
     .subject = ActionSubject::LocalBranch,
     .work = renameBranch},
    {.action = "deleteBranches:",
     .label = "Delete Branch",
     .subject = ActionSubject::LocalBranch,
     .work = deleteBranch},
    {.action = "deleteTags:",
     .label = "Delete Tag",
     .subject = ActionSubject::Tag,
     .work = deleteTag},
    {.action = "fastForward:",
     .label = "Fast-Forward",
     .subject = ActionSubject::LocalBranch,
     .work = fastForward},
    {.action = "exportCommits:",
     .label = "Export",
     .subject = ActionSubject::Reference,
     .work = exportTree},
    {.action = "applyPatch:", .label = "Apply Patch", .work = applyPatch},
};

}  // namespace

std::span<const ActionRule> branchActions() { return kBranchActions; }

}  // namespace kelpie::agent
