#include "status/ObservedPaths.h"

#include <utility>

namespace kelpie {

std::shared_ptr<PathSet> ObservedPaths::find(const FileIdentifier& folder) const {
  const MutexLock lock(mutex_);
  const auto found = sets_.find(folder);
  return found == sets_.end() ? nullptr : found->second;
}

std::shared_ptr<PathSet> ObservedPaths::findOrCreate(const FileIdentifier& folder) {
  const MutexLock lock(mutex_);
  std::shared_ptr<PathSet>& paths = sets_[folder];
  if (paths == nullptr) paths = std::make_shared<PathSet>();
  return paths;
}

void ObservedPaths::set(const FileIdentifier& folder, std::shared_ptr<PathSet> paths) {
  const MutexLock lock(mutex_);
  if (paths == nullptr)
    sets_.erase(folder);
  else
    sets_.insert_or_assign(folder, std::move(paths));
}

void ObservedPaths::remove(const FileIdentifier& folder) {
  const MutexLock lock(mutex_);
  sets_.erase(folder);
}

std::vector<std::shared_ptr<PathSet>> ObservedPaths::sets() const {
  const MutexLock lock(mutex_);
  std::vector<std::shared_ptr<PathSet>> result;
  result.reserve(sets_.size());
  for (const auto& [folder, paths] : sets_) result.push_back(paths);
  return result;
}

std::vector<std::pair<FileIdentifier, std::shared_ptr<PathSet>>> ObservedPaths::entries() const {
  const MutexLock lock(mutex_);
  return {sets_.begin(), sets_.end()};
}

}  // namespace kelpie
