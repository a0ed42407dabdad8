#include "agent/actions/PathSurvey.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kelpie::agent {
namespace {

// How many items in the way of one file are looked through.
constexpr std::size_t kMostInTheWay = 10'000;

// Whether the file is as the index has it, according to git's status.
bool isUnchangedInFolder(const StatusItem* item) {
  constexpr StatusWord kIndexOnly =
      KPStatusIndexNew | KPStatusIndexModified | KPStatusIndexRenamed | KPStatusIndexTypeChanged;
  return item == nullptr || (item->word & ~kIndexOnly) == 0;
}

}  // namespace

std::optional<PathSurvey> PathSurvey::of(const GitCommand& git, const PathPlan& plan,
                                         const StatusSnapshot& status) {
  const auto planned = [&plan](std::string_view path) { return plan.has(std::string(path)); };
  const std::optional<IndexListing> index = IndexListing::read(git, planned);
  const std::optional<TreeListing> head = TreeListing::read(git, "HEAD", planned);
  if (!index || !head) return std::nullopt;
  PathSurvey survey;
  WorkingFiles files(git.folder());
  for (const auto& [path, target] : plan.targets) {
    State state{files.look(path), index->at(path)};
    survey.judge(path, state, status, *index, *head);
    if (!target && state.presence.kind == WorkingFiles::Kind::Folder)
      survey.stayingFolders_.insert(path);
    survey.states_.emplace(path, std::move(state));
  }
  survey.limit(files);
  survey.findObstructions(plan, files);
  return survey;
}

void PathSurvey::judge(const std::string& path, State& state, const StatusSnapshot& status,
                       const IndexListing& index, const TreeListing& head) {
  const StatusItem* item = status.itemAt(path);
  const bool isTracked = state.index.size() == 1 && state.index.front().stage == 0;
  state.isIntended = isTracked && item != nullptr && item->word == KPStatusWorkdirNew;
  state.isClean = isTracked && !state.isIntended && !index.isAssumedUnchanged(path) &&
                  isUnchangedInFolder(item) && state.presence.isContent();
  const TreeEntry* committed = head.find(path);
  const bool isCommitted =
      state.index.empty() ||
      (isTracked && committed != nullptr && state.index.front().entry == *committed) ||
      state.isIntended;
  if ((state.presence.isContent() && !state.isClean) || !isCommitted) atStake_.insert(path);
  // Whatever git reports, a pipe has no content that could be kept.
  if (state.presence.kind == WorkingFiles::Kind::Other) {
    atStake_.insert(path);
    unkeepable_.insert(path);
  }
}

void PathSurvey::limit(WorkingFiles& files) {
  std::uint64_t whole = 0;
  for (const std::string& path : atStake_) {
    const State& state = states_.at(path);
    if (state.presence.kind != WorkingFiles::Kind::File || state.isClean) continue;
    const std::uint64_t size = state.presence.print.size;
    if (size > kLargestFile || size > kLargestWhole - whole || !files.isReadable(path))
      unkeepable_.insert(path);
    else
      whole += size;
  }
}

void PathSurvey::findObstructions(const PathPlan& plan, WorkingFiles& files) {
  for (const auto& [path, target] : plan.targets) {
    if (!target || target->isSubmodule()) continue;
    const WorkingFiles::Presence& presence = states_.at(path).presence;
    if (presence.kind == WorkingFiles::Kind::Blocked && !plan.removes(presence.blockedBy)) {
      obstruction_ =
          "\"" + path + "\" cannot be written: \"" + presence.blockedBy + "\" is in its way.";
      return;
    }
    if (presence.kind != WorkingFiles::Kind::Folder) continue;
    const auto contents = files.contents(path, kMostInTheWay);
    const auto other =
        contents ? std::ranges::find_if_not(
                       *contents, [&](const std::string& each) { return plan.removes(each); })
                 : std::vector<std::string>::const_iterator();
    if (contents && other == contents->end()) continue;
    obstruction_ = "\"" + path + "\" cannot be written: there is a folder" +
                   (contents ? ", with \"" + *other + "\" in it." : ".");
    return;
  }
}

bool PathSurvey::differsFrom(const PathSurvey& before) const {
  return std::ranges::any_of(states_, [&](const auto& state) {
    return !state.second.isAs(before.states_.at(state.first));
  });
}

}  // namespace kelpie::agent
