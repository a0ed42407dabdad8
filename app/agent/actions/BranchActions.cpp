#include "agent/actions/BranchActions.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "agent/actions/ActionJob.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// How far a reset goes, in the order in which the user is offered it.
struct ResetKind {
  const char* option;
  const char* words;
};
constexpr std::array<ResetKind, 3> kResets = {{
    {"--mixed", "Mixed: keep the files as they are, reset what is staged"},
    {"--soft", "Soft: keep the files and what is staged"},
    {"--hard", "Hard: reset everything; changes that are not committed are LOST"},
}};

ActionOutcome reset(ActionJob& job) {
  std::vector<std::string> choices;
  choices.reserve(kResets.size());
  for (const ResetKind& kind : kResets) choices.emplace_back(kind.words);
  const Dialogs::Answer answer =
      Dialogs::choose("Reset the current branch to " + job.target().name + ":", choices);
  if (!answer.given()) return job.unanswered(answer);
  return job.change(
      {"reset", "-q", kResets.at(answer.choice).option, job.target().reference->fullName, "--"});
}

ActionOutcome merge(ActionJob& job) { return job.change({"merge", "-q", job.spokenName()}); }

ActionOutcome rebase(ActionJob& job) { return job.change({"rebase", "-q", job.spokenName()}); }

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

// How many commits no other branch or tag has; missing when git does not tell.
std::optional<std::string> commitsOfOnly(const ActionJob& job, const Reference& branch) {
  const ProgramResult counted =
      job.git().ask({"rev-list", "--count", branch.fullName, "--not",
                     "--exclude=" + branch.shortName, "--branches", "--remotes", "--tags", "--"});
  if (!counted.succeeded()) return std::nullopt;
  return counted.output.substr(0, counted.output.find('\n'));
}

ActionOutcome deleteBranch(ActionJob& job) {
  const Reference& branch = *job.target().reference;
  const std::optional<std::string> lost = commitsOfOnly(job, branch);
  std::string question = "Delete the branch " + job.target().name + "?";
  if (lost != "0")
    question +=
        "\n\n" + lost.value_or("Its") + " commit(s) are in no other branch and will be lost.";
  if (std::optional<ActionOutcome> no = job.refused(question)) return *no;
  return job.change({"branch", "-q", "-D", "--", branch.shortName});
}

// Only forwards: git refuses anything else by itself.
ActionOutcome fastForward(ActionJob& job) {
  const Reference& branch = *job.target().reference;
  if (branch.upstream.empty())
    return ActionOutcome::failed("The branch " + job.target().name + " tracks no other.");
  if (branch.isHead) return job.change({"merge", "-q", "--ff-only", branch.upstream});
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
  // The format is told by how the name ends.
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
     .git = "switch -q --no-guess --end-of-options %name"},
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
     .git = "tag -d -- %name",
     .question = "Delete the tag %@?"},
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
