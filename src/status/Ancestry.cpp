#include "status/Ancestry.h"

namespace kelpie {

Ancestry::Ancestry(const URL& receiver, FolderCache& cache) : cache_(cache) {
  if (!receiver.isFileURL()) return;
  const FolderCache::Folder* folder = cache.folderAt(receiver.path());
  if (folder == nullptr || !cache.valuesOf(*folder).isDirectory) return;
  receiver_ = cache.identifierOf(*folder);
  if (folder->parent() != nullptr) stop_ = cache.identifierOf(*folder->parent());
}

bool Ancestry::isParentOf(const std::optional<FileIdentifier>& item,
                          const FolderCache::Folder* folder) {
  if (!receiver_ || folder == nullptr) return false;
  if (item && item == stop_) return false;
  const auto [known, isNew] = known_.try_emplace(folder, false);
  if (isNew) known->second = isUpward(folder);
  return known->second;
}

bool Ancestry::isUpward(const FolderCache::Folder* folder) {
  for (; folder != nullptr; folder = folder->parent()) {
    const std::optional<FileIdentifier>& identifier = cache_.identifierOf(*folder);
    if (!identifier) continue;
    if (identifier == receiver_) return true;
    if (identifier == stop_) return false;
  }
  return false;
}

}  // namespace kelpie
