#include "agent/actions/DiscardPlanner.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "agent/actions/TreeListing.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Site = SafeReplacement::Site;

// Submodules in submodules, and how many of them in all.
constexpr int kDeepest = 8;
constexpr std::size_t kMostSites = 200;

}  // namespace

bool DiscardPlanner::plan(const WorkingCopy& workingCopy, const std::vector<std::string>& within) {
  return plan(workingCopy, within, 0);
}

void DiscardPlanner::add(Site& site, const StatusItem& item, WorkingFiles& files) {
  PathPlan& plan = site.plan;
  plan.targets.emplace(item.path, std::nullopt);
  // A folder that git reports as one untracked item is a repository of its own, and stays.
  if (item.word != KPStatusWorkdirNew || !item.isFolder) plan.items.insert(item.path);
  if (item.renamedFrom.empty() || !(item.word & (KPStatusIndexRenamed | KPStatusWorkdirRenamed)))
    return;
  plan.targets.emplace(item.renamedFrom, std::nullopt);
  // Something else may have taken the former name.
  if (files.look(item.renamedFrom).kind != WorkingFiles::Kind::Missing)
    plan.items.insert(item.renamedFrom);
}

bool DiscardPlanner::plan(const WorkingCopy& workingCopy, const std::vector<std::string>& within,
                          int depth) {
  const bool isSubmodule = depth > 0;
  Site site{workingCopy, {}, SafeReplacement::statusOf(git_, workingCopy)};
  if (site.status == nullptr) return false;
  WorkingFiles files(workingCopy.root);
  const PathScope scope(within);
  for (const StatusItem& item : site.status->items()) {
    if (item.word == KPStatusIgnored || !scope.contains(item.path)) continue;
    // What is new in a submodule does not hinder it from going back.
    if (isSubmodule && what_ == InSubmodules::TrackedOnly && item.word == KPStatusWorkdirNew)
      continue;
    add(site, item, files);
  }
  PathPlan& plan = site.plan;
  const auto head =
      TreeListing::read(git_.in(workingCopy.root), "HEAD",
                        [&plan](std::string_view path) { return plan.has(std::string(path)); });
  if (!head) return false;
  for (auto& [path, target] : plan.targets)
    if (const TreeEntry* entry = head->find(path)) target = *entry;
  if (isSubmodule && plan.targets.empty()) return true;
  sites_.push_back(site);
  return planSubmodules(site, depth);
}

bool DiscardPlanner::planSubmodules(const Site& site, int depth) {
  for (const auto& [path, target] : site.plan.targets) {
    if (!target || !target->isSubmodule() || depth >= kDeepest || sites_.size() >= kMostSites)
      continue;
    const std::string root = site.workingCopy.root + "/" + path;
    std::error_code ignored;
    if (!fs::exists(root + "/.git", ignored)) continue;
    const auto found = WorkingCopyFinder(git_).find(root).workingCopy;
    if (found && found->root == root && !plan(*found, {"."}, depth + 1)) return false;
  }
  return true;
}

}  // namespace kelpie::agent
