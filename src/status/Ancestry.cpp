#include "status/Ancestry.h"

namespace kelpie {

Ancestry::Ancestry(const URL& receiver, FolderLooks& looks) : looks_(looks) {
  if (!receiver.isFileURL()) return;
  const FolderLooks::Folder* folder = looks.folderAt(receiver.path());
  if (folder == nullptr || !looks.valuesOf(*folder).isDirectory) return;
  receiver_ = looks.identifierOf(*folder);
  if (folder->parent() != nullptr) stop_ = looks.identifierOf(*folder->parent());
}

bool Ancestry::isParentOf(const std::optional<FileIdentifier>& item,
                          const FolderLooks::Folder* folder) {
  if (!receiver_ || folder == nullptr) return false;
  if (item && item == stop_) return false;
  const auto [known, isNew] = known_.try_emplace(folder, false);
  if (isNew) known->second = isUpward(folder);
  return known->second;
}

bool Ancestry::isUpward(const FolderLooks::Folder* folder) {
  for (; folder != nullptr; folder = folder->parent()) {
    const std::optional<FileIdentifier>& identifier = looks_.identifierOf(*folder);
    if (!identifier) continue;
    if (identifier == receiver_) return true;
    if (identifier == stop_) return false;
  }
  return false;
}

}  // namespace kelpie
