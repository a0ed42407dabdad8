#include "status/DirtyFolders.h"

#include <optional>
#include <unordered_set>
#include <utility>

#include "status/Ancestry.h"

namespace kelpie {

DirtyFolders::DirtyFolders(std::shared_ptr<const UrlList> urls, FolderLooks& looks)
    : urls_(std::move(urls)), looks_(looks) {
  std::unordered_set<const FolderLooks::Folder*> entered;
  for (std::size_t i = 0; i < urls_->size(); ++i) {
    if (!urls_->isFileURL(i)) continue;
    const FolderLooks::Folder* folder = looks_.parentOfPath(urls_->path(i));
    for (; folder != nullptr && entered.insert(folder).second; folder = folder->parent()) {
      const std::optional<FileIdentifier>& identifier = looks_.identifierOf(*folder);
      if (identifier) firstBelow_.emplace(*identifier, i);
    }
  }
}

bool DirtyFolders::isOneInside(const URL& folder) {
  const FolderLooks::Folder* looked = folder.isFileURL() ? looks_.folderAt(folder.path()) : nullptr;
  if (looked == nullptr || !looks_.identifierOf(*looked)) return false;
  const auto first = firstBelow_.find(*looks_.identifierOf(*looked));
  if (first == firstBelow_.end()) return false;

  Ancestry ancestry(folder, looks_);
  const auto isInside = [&](std::size_t index) {
    const URL item = URL::fileURLWithPath(urls_->path(index));
    return ancestry.isParentOf(looks_.files().resourceValues(item).identifier,
                               looks_.parentOf(item));
  };
  if (isInside(first->second)) return true;
  // The folder stands above an item and is not its parent: the way up meets the folder's own parent
  // first. That takes a path that goes round, so it is not worth being quick about.
  for (std::size_t i = 0; i < urls_->size(); ++i) {
    if (urls_->isFileURL(i) && isInside(i)) return true;
  }
  return false;
}

}  // namespace kelpie
