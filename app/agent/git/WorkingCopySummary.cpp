#include "agent/git/WorkingCopySummary.h"

#include <array>
#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/git/RepositoryState.h"

namespace kelpie::agent {
namespace {

// What git printed, without the line end; empty when it failed.
std::string answerOf(const GitCommand& git, const Arguments& arguments) {
  ProgramResult result = git.ask(arguments);
  if (!result.succeeded()) return {};
  if (result.output.ends_with('\n')) result.output.pop_back();
  return std::move(result.output);
}

std::string_view nameOf(RepositoryState state) {
  constexpr std::array<std::string_view, 12> kNames = {
      "",       "merge",  "revert", "revert", "cherry-pick",   "cherry-pick",
      "bisect", "rebase", "rebase", "rebase", "applying mail", "rebase"};
  return kNames.at(static_cast<std::size_t>(state));
}

// Two numbers with a tab between them.
std::optional<WorkingCopySummary::Distance> distanceOf(std::string_view counts) {
  WorkingCopySummary::Distance distance;
  const char* end = counts.data() + counts.size();
  const auto ahead = std::from_chars(counts.data(), end, distance.ahead);
  if (ahead.ec != std::errc() || ahead.ptr == end) return std::nullopt;
  const auto behind = std::from_chars(ahead.ptr + 1, end, distance.behind);
  if (behind.ec != std::errc() || behind.ptr != end) return std::nullopt;
  return distance;
}

}  // namespace

WorkingCopySummary WorkingCopySummary::read(const GitCommand& anyGit,
                                            const WorkingCopy& workingCopy,
                                            const StatusSnapshot* status) {
  const GitCommand git = anyGit.in(workingCopy.root);
  WorkingCopySummary summary;
  summary.root = workingCopy.root;
  summary.branch = answerOf(git, {"symbolic-ref", "--quiet", "--short", "HEAD"});
  summary.commit = answerOf(git, {"rev-parse", "--quiet", "--verify", "--short", "HEAD"});
  summary.isDetached = summary.branch.empty();
  if (!summary.isDetached) {
    summary.upstream = answerOf(git, {"rev-parse", "--quiet", "--verify", "--abbrev-ref",
                                      "--symbolic-full-name", "@{upstream}"});
    summary.distance = distanceOf(
        answerOf(git, {"rev-list", "--left-right", "--count", "HEAD...@{upstream}", "--"}));
  }
  summary.operation = nameOf(repositoryState(workingCopy.gitDirectory));
  if (status == nullptr) return summary;
  for (const StatusItem& item : status->items()) {
    if (summary.changes.size() >= kMostChanges) break;
    if (item.word != KPStatusIgnored) summary.changes.push_back({item.path, item.isGone});
  }
  return summary;
}

}  // namespace kelpie::agent
