#include "agent/git/ChangedPlaces.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kelpie::agent {
namespace {

struct SplitPath {
  std::string_view folder;
  std::string_view name;
};

SplitPath splitPath(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {{}, path};
  return {path.substr(0, slash), path.substr(slash + 1)};
}

std::ptrdiff_t depthOf(std::string_view folder) {
  return folder.empty() ? 0 : 1 + std::ranges::count(folder, '/');
}

}  // namespace

ChangedPlaces ChangedPlaces::everything() {
  ChangedPlaces places;
  places.addEverything();
  return places;
}

void ChangedPlaces::add(std::string_view path) {
  if (isEverything_) return;
  if (path.empty()) return addEverything();
  if (covers(path)) return;
  const auto [folder, name] = splitPath(path);
  addName(folder, name);
  while (folders_.size() > kMostFolders) liftDeepest();
}

void ChangedPlaces::add(const ChangedPlaces& other) {
  if (other.isEverything_) return addEverything();
  for (const auto& [folder, entries] : other.folders_) {
    if (entries.areMany) addWholeFolder(folder);
    for (const std::string& name : entries.names)
      add(folder.empty() ? name : std::string(folder).append("/").append(name));
  }
}

void ChangedPlaces::addEverything() {
  folders_.clear();
  isEverything_ = true;
}

bool ChangedPlaces::covers(std::string_view path) const {
  for (;;) {
    const auto [folder, name] = splitPath(path);
    if (const auto found = folders_.find(folder);
        found != folders_.end() && (found->second.areMany || found->second.names.contains(name)))
      return true;
    if (folder.empty()) return false;
    path = folder;
  }
}

void ChangedPlaces::addName(std::string_view folder, std::string_view name) {
  auto at = folders_.find(folder);
  if (at == folders_.end()) at = folders_.try_emplace(std::string(folder)).first;
  Entries& entries = at->second;
  if (entries.areMany) return;
  entries.names.emplace(name);
  if (entries.names.size() <= kMostNames) return;
  entries.names.clear();
  entries.areMany = true;
}

void ChangedPlaces::addWholeFolder(std::string_view folder) {
  if (isEverything_ || covers(folder)) return;
  auto at = folders_.find(folder);
  if (at == folders_.end()) at = folders_.try_emplace(std::string(folder)).first;
  at->second.names.clear();
  at->second.areMany = true;
  while (folders_.size() > kMostFolders) liftDeepest();
}

// Each step makes the deepest folders one level less deep, so that at last there is but the root.
void ChangedPlaces::liftDeepest() {
  std::ptrdiff_t deepest = 0;
  for (const auto& [folder, entries] : folders_) deepest = std::max(deepest, depthOf(folder));
  std::vector<std::string> lifted;
  for (const auto& [folder, entries] : folders_)
    if (depthOf(folder) == deepest) lifted.push_back(folder);
  for (const std::string& folder : lifted) folders_.erase(folder);
  for (const std::string& folder : lifted) {
    const auto [above, name] = splitPath(folder);
    addName(above, name);
  }
}

}  // namespace kelpie::agent
