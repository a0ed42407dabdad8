#include "agent/actions/DiscardPlanner.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/actions/TreeListing.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/PathScope.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Site = SafeReplacement::Site;

// Submodules in submodules, and how many of them in all.
constexpr int kDeepestFolder = 8;
constexpr std::size_t kMostSites = 200;

}  // namespace

bool DiscardPlanner::plan(const WorkingCopy& workingCopy, const std::vector<std::string>& within) {
  return plan(workingCopy, within, 0, {});
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
                          int depth, const std::string& commit) {
  const bool isSubmodule = depth > 0;
  Site site{workingCopy, {}, SafeReplacement::statusOf(git_, workingCopy)};
  if (site.status == nullptr) return false;
  WorkingFiles files(workingCopy.root);
  const PathScope scope(within);
  for (const StatusItem& item : site.status->items()) {
    if (item.word == KPStatusIgnored || !scope.contains(item.path)) continue;
    // New files in a submodule do not prevent it from going back.
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
  IncomingFiles::Entries incoming;
  if (!commit.empty() && !addIgnored(site, commit, incoming)) return false;
  if (!isSubmodule || !plan.targets.empty()) sites_.push_back(site);
  return planSubmodules(site, incoming, depth);
}

// Ignored files that are in the way of the commit: git would replace them without a word. A commit
// that is not there is not checked out either.
bool DiscardPlanner::addIgnored(Site& site, const std::string& commit,
                                IncomingFiles::Entries& incoming) const {
  const GitCommand git = git_.in(site.workingCopy.root);
  if (!git.ask({"cat-file", "-e", commit + "^{commit}"}).succeeded()) return true;
  const auto source = IncomingFiles::byCheckout(git, commit);
  std::optional<IncomingFiles::Entries> entries =
      source ? IncomingFiles::entriesOf(git, *source) : std::nullopt;
  PathPlan obstacles;
  if (!entries || !IncomingFiles::addObstacles(git, *entries, obstacles).empty()) return false;
  for (const std::string& path : obstacles.items)
    if (site.plan.targets.emplace(path, std::nullopt).second) site.plan.items.insert(path);
  incoming = *std::move(entries);
  return true;
}

bool DiscardPlanner::planSubmodules(const Site& site, const IncomingFiles::Entries& incoming,
                                    int depth) {
  // By the commit that each is going to have.
  std::map<std::string, std::string> submodules;
  for (const auto& [path, target] : site.plan.targets)
    if (target && target->isSubmodule()) submodules[path] = target->oid;
  for (const auto& [path, entry] : incoming)
    if (entry.isSubmodule()) submodules[path] = entry.oid;
  for (const auto& [path, commit] : submodules) {
    const std::string root = site.workingCopy.root + "/" + path;
    std::error_code ignored;
    if (!fs::exists(root + "/.git", ignored)) continue;
    if (depth >= kDeepestFolder || sites_.size() >= kMostSites) return false;
    const auto found = WorkingCopyFinder(git_).find(root).workingCopy;
    if (found && found->root == root && !plan(*found, {"."}, depth + 1, commit)) return false;
  }
  return true;
}

}  // namespace kelpie::agent
