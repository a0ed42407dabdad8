#include "status/FolderCache.h"

#include <algorithm>
#include <cstddef>
#include <functional>

namespace kelpie {

std::string FolderCache::Folder::path() const {
  if (parent_ == nullptr) return "/";
  std::string path(pathLength_, '/');
  std::size_t end = pathLength_;
  for (const Folder* folder = this; folder->parent_ != nullptr; folder = folder->parent_) {
    end -= folder->name_.size();
    path.replace(end, folder->name_.size(), folder->name_);
    --end;
  }
  return path;
}

std::size_t FolderCache::StepHash::operator()(const StepView& step) const {
  return std::hash<std::string_view>()(step.name) * 31 + std::hash<const void*>()(step.parent);
}

const FolderCache::Folder* FolderCache::parentOf(const URL& url) {
  return url.isFileURL() ? parentOfPath(url.path()) : nullptr;
}

const FolderCache::Folder* FolderCache::parentOfPath(std::string_view path) {
  if (!path.starts_with('/') || path == "/") return nullptr;
  return wayTo(path.substr(0, path.rfind('/') + 1)).folder;
}

const FolderCache::Folder* FolderCache::folderAt(std::string_view path) {
  if (!path.starts_with('/')) return nullptr;
  const Way way = wayTo(path);
  return way.isWhole ? way.folder : nullptr;
}

FolderCache::Way FolderCache::wayTo(std::string_view path) {
  if (last_.folder != nullptr && path == lastPath_) return last_;
  last_ = {&root_, true};
  lastPath_ = path;
  std::string_view rest = path.substr(1);
  for (int level = 0; !rest.empty(); ++level) {
    const Folder* folder = last_.folder;
    if (level >= kLevelsTaken && !identifierOf(*folder)) {
      last_.isWhole = false;
      break;
    }
    const std::size_t length = std::min(rest.find('/'), rest.size());
    const std::string_view name = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    if (name.empty()) continue;
    auto found = folders_.find(StepView{folder, name});
    if (found == folders_.end()) {
      found = folders_
                  .emplace(Step{folder, std::string(name)},
                           Folder(folder, folder->pathLength_ + 1 + name.size()))
                  .first;
      found->second.name_ = found->first.name;
    }
    last_.folder = &found->second;
  }
  return last_;
}

const ResourceValues& FolderCache::valuesOf(const Folder& folder) {
  if (!folder.look_) {
    folder.look_ = folder.pathLength_ > kMaximumPath
                       ? ResourceValues()
                       : files_.resourceValues(URL::fileURLWithPath(folder.path(), true));
  }
  return *folder.look_;
}

const ResourceValues* FolderCache::seenAt(std::string_view path) {
  if (!path.starts_with('/') || path == "/") return nullptr;
  const Folder* parent = folderAt(path.substr(0, path.rfind('/') + 1));
  if (parent == nullptr) return nullptr;
  const auto found = folders_.find(StepView{parent, path.substr(path.rfind('/') + 1)});
  if (found == folders_.end() || !found->second.look_) return nullptr;
  return &*found->second.look_;
}

void FolderCache::remember(const Folder& folder, const ResourceValues& values) {
  if (!folder.look_) folder.look_ = values;
}

}  // namespace kelpie
