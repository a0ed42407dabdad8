#include "agent/actions/ActionGroups.h"

#include <functional>
#include <optional>
#include <span>
#include <string>

#include "agent/actions/ActionJob.h"
#include "agent/actions/IncomingFiles.h"

namespace kelpie::agent {
namespace {

// One of the three kinds of work that git-flow knows.
struct FlowKind {
  const char* word;  // as the program git-flow calls it
  std::string Gitflow::*prefix;
  std::string Gitflow::*base;  // the branch that it starts from
  // It ends in a version: it is merged to the master branch as well, and tagged there.
  bool isVersion;
};
constexpr FlowKind kFeature = {"feature", &Gitflow::featurePrefix, &Gitflow::develop, false};
constexpr FlowKind kRelease = {"release", &Gitflow::releasePrefix, &Gitflow::develop, true};
constexpr FlowKind kHotfix = {"hotfix", &Gitflow::hotfixPrefix, &Gitflow::master, true};

constexpr const char* kNotSetUp = "The repository is not set up for git-flow.";

bool hasProgram(const ActionJob& job) { return job.git().ask({"flow", "version"}).succeeded(); }

std::optional<Gitflow> flowOf(ActionJob& job) {
  const ReferencesSnapshot* references = job.references();
  return references == nullptr ? std::nullopt : references->gitflow;
}

ActionOutcome start(ActionJob& job, const FlowKind& kind) {
  const std::optional<Gitflow> flow = flowOf(job);
  if (!flow) return ActionOutcome::failed(kNotSetUp);
  const Dialogs::Answer name = Dialogs::ask("Name of the " + std::string(kind.word) + ":", "");
  if (!name.given()) return job.unanswered(name);
  const std::string branch = *flow.*kind.prefix + name.text;
  // git-flow has no way to tell a name from an option.
  if (name.text.starts_with('-') ||
      !job.git().ask({"check-ref-format", "--branch", branch}).succeeded())
    return ActionOutcome::failed("\"" + name.text + "\" is no name for a " + kind.word + ".");
  const std::string base = "refs/heads/" + *flow.*kind.base;
  if (!hasProgram(job))
    return IncomingFiles::checkOut(job, base, {"switch", "-q", "--no-track", "-c", branch, base});
  return IncomingFiles::bring(
      job, [&] { return IncomingFiles::byCheckout(job.git(), base); },
      [&](IncomingFiles::Ignored) {
        return job.change({"flow", kind.word, "start", name.text});
      });
}

ActionOutcome mergeInto(ActionJob& job, const std::string& into, const std::string& what) {
  ActionOutcome outcome = IncomingFiles::checkOut(
      job, "refs/heads/" + into, {"switch", "-q", "--no-guess", "--end-of-options", into});
  if (!outcome.isDone()) return outcome;
  return IncomingFiles::merge(job, what, what, {"--no-ff"});
}

// The version's tag on the master branch, unless an earlier try has made it.
ActionOutcome tagVersion(const ActionJob& job, const Gitflow& flow, const std::string& version) {
  const std::string tag = flow.versionTagPrefix + version;
  if (job.git().ask({"rev-parse", "--verify", "--quiet", "refs/tags/" + tag}).succeeded())
    return ActionOutcome::done();
  return job.change({"tag", "-a", "-m", version, "--", tag, "refs/heads/" + flow.master});
}

// Every step can be done again: after a conflict is resolved, finishing once more goes on with
// what is left.
ActionOutcome finishByGit(ActionJob& job, const Gitflow& flow, const FlowKind& kind,
                          const std::string& branch, const std::string& name) {
  const std::string full = "refs/heads/" + branch;
  if (kind.isVersion) {
    if (ActionOutcome outcome = mergeInto(job, flow.master, full); !outcome.isDone())
      return outcome;
    if (ActionOutcome outcome = tagVersion(job, flow, name); !outcome.isDone()) return outcome;
  }
  if (ActionOutcome outcome = mergeInto(job, flow.develop, full); !outcome.isDone()) return outcome;
  // All its commits are in the other branches now.
  return job.change({"branch", "-q", "-D", "--", branch});
}

ActionOutcome finish(ActionJob& job, const FlowKind& kind) {
  const std::optional<Gitflow> flow = flowOf(job);
  if (!flow) return ActionOutcome::failed(kNotSetUp);
  const std::string& branch = job.target().branch;
  const std::string name = branch.substr((*flow.*kind.prefix).size());
  if (!job.git().ask({"diff-index", "--quiet", "HEAD", "--"}).succeeded())
    return ActionOutcome::failed("There are changes that are not committed.");
  if (!hasProgram(job)) return finishByGit(job, *flow, kind, branch, name);
  if (name.starts_with('-')) return ActionOutcome::failed("git-flow cannot work with that name.");
  Arguments arguments = {"flow", kind.word, "finish", name};
  if (kind.isVersion) arguments.insert(arguments.end() - 1, {"-m", name});
  return IncomingFiles::bring(
      job,
      [&] {
        IncomingFiles::Source source;
        for (const std::string& each : {branch, flow->develop, flow->master})
          source.differences.push_back({"HEAD", "refs/heads/" + each});
        return source;
      },
      [&](IncomingFiles::Ignored) { return job.change(arguments); });
}

template <const FlowKind& kind>
ActionOutcome startOf(ActionJob& job) {
  return start(job, kind);
}
template <const FlowKind& kind>
ActionOutcome finishOf(ActionJob& job) {
  return finish(job, kind);
}

constexpr ActionRule kGitflowActions[] = {
    {.action = "startGitflowFeature:", .label = "Start Feature", .work = startOf<kFeature>},
    {.action = "startGitflowRelease:", .label = "Start Release", .work = startOf<kRelease>},
    {.action = "startGitflowHotfix:", .label = "Start Hotfix", .work = startOf<kHotfix>},
    {.action = "finishGitflowFeature:",
     .label = "Finish Feature",
     .subject = ActionSubject::Feature,
     .work = finishOf<kFeature>},
    {.action = "finishGitflowRelease:",
     .label = "Finish Release",
     .subject = ActionSubject::Release,
     .work = finishOf<kRelease>},
    {.action = "finishGitflowHotfix:",
     .label = "Finish Hotfix",
     .subject = ActionSubject::Hotfix,
     .work = finishOf<kHotfix>},
};

}  // namespace

std::span<const ActionRule> gitflowActions() { return kGitflowActions; }

}  // namespace kelpie::agent
