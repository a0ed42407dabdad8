#include "agent/actions/ActionGroups.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/PullAction.h"
#include "agent/actions/PushRemote.h"
#include "agent/git/Refspecs.h"

namespace kelpie::agent {
namespace {

// A remote and the full name of a branch of its own there.
struct BranchThere {
  Remote remote;
  std::string name;
};

std::variant<BranchThere, ActionOutcome> branchThere(ActionJob& job) {
  const ReferencesSnapshot* references = job.references();
  const Remote* remote =
      references == nullptr ? nullptr : references->remoteOf(*job.target().reference);
  const std::optional<std::string> name =
      remote == nullptr ? std::nullopt
                        : nameOnRemote(remote->fetchRefspecs, job.target().reference->fullName);
  if (!name)
    return ActionOutcome::failed("What " + job.target().name +
                                 " is called on its remote cannot be told from the settings.");
  return BranchThere{*remote, *name};
}

// The server refuses when the branch there is not the one that is known here.
std::string lease(const std::string& name, const std::string& oid) {
  return "--force-with-lease=" + name + ":" + oid;
}

ActionOutcome deleteRemoteBranch(ActionJob& job) {
  const auto there = branchThere(job);
  if (const auto* failure = std::get_if<ActionOutcome>(&there)) return *failure;
  const auto& branch = std::get<BranchThere>(there);
  return job.change({"push", "-q", lease(branch.name, job.target().reference->oid), "--",
                     branch.remote.name, ":" + branch.name});
}

// Where the branch of that name has the same commit, git would find nothing to refuse.
bool isTaken(const ReferencesSnapshot& references, const Remote& remote, const std::string& name) {
  return std::ranges::any_of(references.remoteBranches, [&](const Reference& each) {
    return nameOnRemote(remote.fetchRefspecs, each.fullName) == name;
  });
}

ActionOutcome renameRemoteBranch(ActionJob& job) {
  const auto there = branchThere(job);
  if (const auto* failure = std::get_if<ActionOutcome>(&there)) return *failure;
  const auto& branch = std::get<BranchThere>(there);
  const std::string shortName =
      job.target().reference->shortName.substr(branch.remote.name.size() + 1);
  const Dialogs::Answer name =
      Dialogs::ask("New name of the branch on \"" + branch.remote.name + "\":", shortName);
  if (!name.given()) return job.unanswered(name);
  const std::string after = "refs/heads/" + name.text;
  if (!job.git().ask({"check-ref-format", after}).succeeded())
    return ActionOutcome::failed("\"" + name.text + "\" is no name for a branch.");
  if (isTaken(*job.references(), branch.remote, after))
    return ActionOutcome::failed("There is a branch \"" + name.text + "\" already.");
  // Both or neither; and nobody else may have taken the new name.
  return job.change({"push", "-q", "--atomic", lease(branch.name, job.target().reference->oid),
                     lease(after, ""), "--", branch.remote.name,
                     job.target().reference->oid + ":" + after, ":" + branch.name});
}

ActionOutcome addRemote(ActionJob& job) {
  const Dialogs::Answer url = Dialogs::ask("Address of the remote:", "");
  if (!url.given()) return job.unanswered(url);
  const ReferencesSnapshot* references = job.references();
  const bool first = references != nullptr && references->remotes.empty();
  const Dialogs::Answer name = Dialogs::ask("Name of the remote:", first ? "origin" : "");
  if (!name.given()) return job.unanswered(name);
  // git would take them, and then take them for options where it runs others.
  if (name.text.starts_with('-') || url.text.starts_with('-'))
    return ActionOutcome::failed("A remote's name and address cannot begin with \"-\".");
  return job.change({"remote", "add", "--", name.text, url.text});
}

ActionOutcome fetch(ActionJob& job) {
  const std::optional<Remote>& remote = job.target().remote;
  return job.change(remote ? Arguments{"fetch", "-q", "--", remote->name}
                           : Arguments{"fetch", "-q", "--all"});
}

ActionOutcome prune(ActionJob& job) {
  Arguments arguments = {"remote", "prune", "--"};
  const ReferencesSnapshot* references = job.references();
  if (job.target().remote)
    arguments.push_back(job.target().remote->name);
  else if (references != nullptr)
    for (const Remote& remote : references->remotes) arguments.push_back(remote.name);
  return job.change(arguments);
}

ActionOutcome pull(ActionJob& job) {
  const auto there = branchThere(job);
  if (const auto* failure = std::get_if<ActionOutcome>(&there)) return *failure;
  const auto& branch = std::get<BranchThere>(there);
  return PullAction(job, branch.remote.name, branch.name).run();
}

// A branch is pushed to its upstream, or under its own name if it has none.
ActionOutcome push(ActionJob& job) {
  const Reference& reference = *job.target().reference;
  if (reference.isDetached)
    return ActionOutcome::failed("No branch is checked out: there is no name to push it under.");
  const auto found = pushRemote(job, reference);
  if (const auto* failure = std::get_if<ActionOutcome>(&found)) return *failure;
  const auto& remote = std::get<Remote>(found);
  std::optional<std::string> there;
  if (!reference.upstream.empty()) there = nameOnRemote(remote.fetchRefspecs, reference.upstream);
  Arguments arguments = {"push", "-q"};
  if (reference.kind == ReferenceKind::LocalBranch && reference.upstream.empty())
    arguments.emplace_back("--set-upstream");
  arguments.insert(
      arguments.end(),
      {"--", remote.name, reference.fullName + ":" + there.value_or(reference.fullName)});
  return job.change(arguments);
}

constexpr ActionRule kRemoteActions[] = {
    {.action = "addRemote:", .label = "Add Remote", .work = addRemote},
    {.action = "deleteRemotes:",
     .label = "Delete Remote",
     .subject = ActionSubject::Remote,
     .git = "remote remove -- %name",
     .question = "Delete the remote %@, its settings and what is known of its branches?"},
    {.action = "deleteRemoteBranches:",
     .label = "Delete Branch",
     .subject = ActionSubject::RemoteBranch,
     .question = "Delete the branch %@ on its remote, for everyone?",
     .work = deleteRemoteBranch},
    {.action = "renameRemoteBranch:",
     .label = "Rename Branch",
     .subject = ActionSubject::RemoteBranch,
     .work = renameRemoteBranch},
    {.action = "fetch:", .label = "Fetch", .subject = ActionSubject::RemoteOrAll, .work = fetch},
    {.action = "prune:", .label = "Prune", .subject = ActionSubject::RemoteOrAll, .work = prune},
    {.action = "pull:", .label = "Pull", .subject = ActionSubject::RemoteBranch, .work = pull},
    {.action = "push:", .label = "Push", .subject = ActionSubject::BranchOrTag, .work = push},
};

}  // namespace

std::span<const ActionRule> remoteActions() { return kRemoteActions; }

}  // namespace kelpie::agent
