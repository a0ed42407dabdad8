#include "agent/actions/PullAction.h"

#include <utility>

namespace kelpie::agent {
namespace {

constexpr const char* kFetched = "FETCH_HEAD";
constexpr const char* kFastForwardOnly = "--ff-only";

std::string firstLineOf(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

std::string PullAction::answerOf(const Arguments& arguments) const {
  const ProgramResult answer = job_.git().ask(arguments);
  return answer.succeeded() ? firstLineOf(answer.output) : std::string();
}

std::string PullAction::setting(const std::string& key) const {
  std::string truth = answerOf({"config", "--type=bool", "--get", key});
  return truth.empty() ? answerOf({"config", "--get", key}) : truth;
}

// Without a setting, git refuses to guess how to combine two histories; here they are merged.
void PullAction::readSettings() {
  const std::string head = answerOf({"symbolic-ref", "--quiet", "--short", "HEAD"});
  std::string rebase = head.empty() ? std::string() : setting("branch." + head + ".rebase");
  if (rebase.empty()) rebase = setting("pull.rebase");
  if (rebase == "merges" || rebase == "m")
    rebase_ = Rebase::WithMerges;
  else if (!rebase.empty() && rebase != "false")
    rebase_ = Rebase::Yes;
  const std::string fastForward = setting("pull.ff");
  if (fastForward == "only")
    fastForward_ = kFastForwardOnly;
  else if (!fastForward.empty())
    fastForward_ = fastForward == "false" ? "--no-ff" : "--ff";
  if (fastForward_ == kFastForwardOnly || !job_.hasHeadCommit()) rebase_ = Rebase::No;
}

// Where the local branch forked from the remote one as it was known before the fetch: commits that
// were removed there are not brought back.
std::string PullAction::forkPoint() const {
  return answerOf({"merge-base", "--fork-point", job_.target().reference->fullName, "HEAD"});
}

ActionOutcome PullAction::change(const Arguments& arguments) const {
  return ActionOutcome::of(job_.git().changeWith(
      arguments, {{}, {{"GIT_REFLOG_ACTION", "pull -q " + remote_ + " " + branch_}}}));
}

ActionOutcome PullAction::mergeFetched(const Arguments& options) {
  Arguments arguments = {"merge", "-q"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  // By this name, git says in the message where it comes from.
  arguments.emplace_back(kFetched);
  return IncomingFiles::bring(
      job_, [&] { return IncomingFiles::byMerge(job_.git(), fetched_); },
      [&](IncomingFiles::Ignored) {
        if (answerOf({"rev-parse", "--verify", "--quiet", kFetched}) != fetched_)
          return ActionOutcome::failed("Something else was fetched meanwhile. Nothing was done.");
        return change(arguments);
      });
}

ActionOutcome PullAction::rebase() {
  const bool canFastForward =
      job_.git().ask({"merge-base", "--is-ancestor", "HEAD", fetched_}).succeeded();
  if (canFastForward) return mergeFetched({kFastForwardOnly});
  std::string upstream = fetched_;
  if (!forkPoint_.empty() &&
      answerOf({"merge-base", "--octopus", "HEAD", fetched_, forkPoint_}) != forkPoint_)
    upstream = forkPoint_;
  Arguments arguments = {"rebase", "-q"};
  if (rebase_ == Rebase::WithMerges) arguments.emplace_back("--rebase-merges");
  arguments.insert(arguments.end(), {"--onto", fetched_, upstream});
  return IncomingFiles::bring(
      job_, [&] { return IncomingFiles::byRebase(job_.git(), upstream, fetched_); },
      [&](IncomingFiles::Ignored) { return change(arguments); });
}

ActionOutcome PullAction::updateSubmodules() const {
  return change({"submodule", "--quiet", "update", "--recursive",
                 rebase_ == Rebase::No ? "--checkout" : "--rebase"});
}

ActionOutcome PullAction::bringTogether() {
  ActionOutcome outcome =
      rebase_ == Rebase::No
          ? mergeFetched(fastForward_.empty() ? Arguments{} : Arguments{fastForward_})
          : rebase();
  if (!outcome.isDone() || setting("submodule.recurse") != "true") return outcome;
  std::vector<ActionOutcome::Kept> kept = std::move(outcome.kept);
  outcome = updateSubmodules();
  outcome.kept = std::move(kept);
  return outcome;
}

ActionOutcome PullAction::run() {
  readSettings();
  if (rebase_ != Rebase::No) forkPoint_ = forkPoint();
  if (ActionOutcome outcome = job_.change({"fetch", "-q", "--", remote_, branch_});
      !outcome.isDone())
    return outcome;
  fetched_ = answerOf({"rev-parse", "--verify", "--quiet", kFetched});
  if (fetched_.empty())
    return ActionOutcome::failed("What was fetched could not be read. Nothing was changed.");
  return bringTogether();
}

}  // namespace kelpie::agent
