#include "agent/actions/PushRemote.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kelpie::agent {
namespace {

// The names that come into question, the best first; some may be empty or name no remote.
std::vector<std::string> candidates(const ActionJob& job, const ReferencesSnapshot& references,
                                    const Reference& reference) {
  std::vector<std::string> names;
  const auto addSetting = [&](const std::string& key) {
    const ProgramResult value = job.git().ask({"config", "--get", key});
    if (value.succeeded()) names.push_back(value.output.substr(0, value.output.find('\n')));
  };
  const bool isBranch = reference.kind == ReferenceKind::LocalBranch;
  if (isBranch) addSetting("branch." + reference.shortName + ".pushRemote");
  names.push_back(references.pushDefault);
  if (isBranch) addSetting("branch." + reference.shortName + ".remote");
  if (references.headBranch && !references.headBranch->isDetached)
    addSetting("branch." + references.headBranch->shortName + ".remote");
  names.emplace_back("origin");
  if (references.remotes.size() == 1) names.push_back(references.remotes.front().name);
  return names;
}

}  // namespace

std::variant<Remote, ActionOutcome> pushRemote(ActionJob& job, const Reference& reference) {
  const ReferencesSnapshot* references = job.references();
  if (references == nullptr || references->remotes.empty())
    return ActionOutcome::failed("There is no remote to push to.");
  const std::vector<Remote>& remotes = references->remotes;
  for (const std::string& name : candidates(job, *references, reference)) {
    const auto found = std::ranges::find(remotes, name, &Remote::name);
    if (found != remotes.end()) return *found;
  }
  std::vector<std::string> choices;
  choices.reserve(remotes.size());
  for (const Remote& remote : remotes) choices.push_back(remote.name);
  const Dialogs::Answer answer =
      Dialogs::choose("Push \"" + reference.shortName + "\" to:", choices);
  if (!answer.given()) return job.unanswered(answer);
  return remotes.at(answer.choice);
}

}  // namespace kelpie::agent
