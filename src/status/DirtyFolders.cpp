#include "status/DirtyFolders.h"

#include <optional>
#include <unordered_set>
#include <utility>

#include "status/Ancestry.h"

namespace kelpie {

DirtyFolders::DirtyFolders(std::shared_ptr<const UrlList> urls, FolderCache& cache)
    : urls_(std::move(urls)), cache_(cache) {
  std::unordered_set<const FolderCache::Folder*> entered;
  for (std::size_t i = 0; i < urls_->size(); ++i) {
    if (!urls_->isFileURL(i)) continue;
    const FolderCache::Folder* folder = cache_.parentOfPath(urls_->path(i));
    for (; folder != nullptr && entered.insert(folder).second; folder = folder->parent()) {
      const std::optional<FileIdentifier>& identifier = cache_.identifierOf(*folder);
      if (identifier) firstBelow_.emplace(*identifier, i);
    }
  }
}

bool DirtyFolders::isOneInside(const URL& folder) {
  const FolderCache::Folder* looked = folder.isFileURL() ? cache_.folderAt(folder.path()) : nullptr;
  if (looked == nullptr || !cache_.identifierOf(*looked)) return false;
  const auto first = firstBelow_.find(*cache_.identifierOf(*looked));
  if (first == firstBelow_.end()) return false;

  Ancestry ancestry(folder, cache_);
  const auto isInside = [&](std::size_t index) {
    const URL item = URL::fileURLWithPath(urls_->path(index));
    return ancestry.isParentOf(cache_.files().resourceValues(item).identifier,
                               cache_.parentOf(item));
  };
  if (isInside(first->second)) return true;
  // The folder stands above an item and is not its parent: the way up meets the folder's own parent
  // first. That takes a path that goes round, so it need not be quick.
  for (std::size_t i = 0; i < urls_->size(); ++i)
    if (urls_->isFileURL(i) && isInside(i)) return true;
  return false;
}

}  // namespace kelpie
