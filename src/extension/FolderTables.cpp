#include "extension/FolderTables.h"

#include <iterator>

namespace kelpie {

void FolderTables::addInactiveFolder(const FileIdentifier& parent, const URL& folder) {
  const MutexLock lock(mutex_);
  inactive_[parent].try_emplace(folder.absoluteString(), folder);
}

void FolderTables::removeInactiveFolder(const FileIdentifier& parent, const URL& folder) {
  const MutexLock lock(mutex_);
  const auto entry = inactive_.find(parent);
  if (entry != inactive_.end()) entry->second.erase(folder.absoluteString());
}

void FolderTables::removeInactiveFolders(const FileIdentifier& parent) {
  const MutexLock lock(mutex_);
  inactive_.erase(parent);
}

void FolderTables::forgetInactiveFolders(const std::unordered_set<std::string>& paths) {
  const MutexLock lock(mutex_);
  const auto isForgotten = [&paths](const Folders::value_type& folder) {
    const std::string path = folder.second.path();
    return paths.contains(path) || paths.contains(path.substr(0, path.rfind('/')));
  };
  for (auto parent = inactive_.begin(); parent != inactive_.end();) {
    const bool isLess = std::erase_if(parent->second, isForgotten) > 0;
    parent = isLess && parent->second.empty() ? inactive_.erase(parent) : std::next(parent);
  }
}

FolderTables::InactiveFolders FolderTables::inactiveFolders() const {
  const MutexLock lock(mutex_);
  InactiveFolders copy;
  copy.reserve(inactive_.size());
  for (const auto& [parent, folders] : inactive_) {
    std::vector<URL>& urls = copy.emplace_back(parent, std::vector<URL>()).second;
    for (const auto& [text, url] : folders) urls.push_back(url);
  }
  return copy;
}

void FolderTables::setInactiveFolders(const InactiveFolders& folders) {
  std::unordered_map<FileIdentifier, Folders> changed;
  for (const auto& [parent, urls] : folders) {
    Folders& entry = changed[parent];
    for (const URL& url : urls) entry.try_emplace(url.absoluteString(), url);
  }
  const MutexLock lock(mutex_);
  inactive_.swap(changed);
}

void FolderTables::putInactiveFoldersInOrder(const FileSystem& files) {
  for (const auto& [parent, folders] : inactiveFolders()) {
    bool isLess = false;
    for (const URL& folder : folders) {
      const std::optional<URL> parentUrl = folder.parentUrl(files);
      const std::optional<FileIdentifier> home =
          parentUrl ? parentUrl->identifier(files) : std::nullopt;
      if (!home || home == parent) continue;
      removeInactiveFolder(parent, folder);
      addInactiveFolder(*home, folder);
      isLess = true;
    }
    if (isLess) removeIfEmpty(parent);
  }
}

// A parent that was made anew is known by another identifier: nothing comes to the former one.
void FolderTables::removeIfEmpty(const FileIdentifier& parent) {
  const MutexLock lock(mutex_);
  const auto entry = inactive_.find(parent);
  if (entry != inactive_.end() && entry->second.empty()) inactive_.erase(entry);
}

void FolderTables::addObservedDirectory(const URL& folder,
                                        const std::optional<FileIdentifier>& identifier) {
  const MutexLock lock(mutex_);
  const auto [entry, isNew] =
      observed_.try_emplace(folder.absoluteString(), Directory{folder, identifier});
  if (!isNew) entry->second.identifier = identifier;  // of what stands there now
}

void FolderTables::removeObservedDirectory(const FileIdentifier& identifier) {
  const MutexLock lock(mutex_);
  std::erase_if(observed_,
                [&](const auto& entry) { return entry.second.identifier == identifier; });
}

void FolderTables::forgetObservedDirectories(const std::unordered_set<std::string>& paths) {
  const MutexLock lock(mutex_);
  std::erase_if(observed_,
                [&](const auto& entry) { return paths.contains(entry.second.url.path()); });
}

std::vector<URL> FolderTables::observedDirectories() const {
  const MutexLock lock(mutex_);
  std::vector<URL> copy;
  copy.reserve(observed_.size());
  for (const auto& [text, directory] : observed_) copy.push_back(directory.url);
  return copy;
}

void FolderTables::clearObservedDirectories() {
  const MutexLock lock(mutex_);
  observed_.clear();
}

}  // namespace kelpie
