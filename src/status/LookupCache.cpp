#include "status/LookupCache.h"

#include <utility>

namespace kelpie {
namespace {

// Folders are told apart by their paths here.
ItemPlaces withPaths(ItemPlaces places, const FileSystem& files) {
  for (std::optional<URL>* url : {&places.root, &places.gitUrl})
    if (*url) *url = files.filePathUrl(**url).value_or(**url);
  return places;
}

}  // namespace

LookupCache::LookupCache(ItemPlaces places, const FileSystem& files)
    : places_(withPaths(std::move(places), files)),
      folders_(files),
      contents_(files, *places_.ignoredUrls) {}

std::optional<FileIdentifier> LookupCache::identifierOf(const URL& url) {
  const FolderCache::Folder* folder = url.isFileURL() ? folders_.folderAt(url.path()) : nullptr;
  return folder == nullptr ? std::nullopt : folders_.identifierOf(*folder);
}

ResourceValues LookupCache::look(const URL& item) {
  if (!item.isFileURL()) return {};
  if (const ResourceValues* seen = folders_.seenAt(item.path())) return *seen;
  ResourceValues values = folders_.files().resourceValues(item);
  const FolderCache::Folder* folder = values.isDirectory ? folders_.folderAt(item.path()) : nullptr;
  if (folder != nullptr) folders_.remember(*folder, values);
  return values;
}

void LookupCache::rememberRoot(const ResourceValues& values) {
  if (!places_.root || !places_.root->isFileURL()) return;
  if (const FolderCache::Folder* folder = folders_.folderAt(places_.root->path()))
    folders_.remember(*folder, values);
}

bool LookupCache::isDisplaced(const std::optional<FileIdentifier>& root) {
  if (!root || !places_.root) return false;
  const std::optional<FileIdentifier> present = identifierOf(*places_.root);
  return present && present != root;
}

bool LookupCache::isInRoot(const URL& url, const std::optional<FileIdentifier>& identifier) {
  if (!places_.root) return true;
  if (identifier && identifier == identifierOf(*places_.root)) return true;
  if (!root_) root_.emplace(*places_.root, folders_);
  return root_->isParentOf(identifier, folders_.parentOf(url));
}

bool LookupCache::isGitItem(const URL& url, const std::optional<FileIdentifier>& identifier) {
  if (!places_.gitUrl) return false;
  const URL& git = *places_.gitUrl;
  if (url.isSameObject(git)) return true;
  if (!url.isFileURL()) return url.absoluteString() == git.absoluteString();
  if (!git_) git_.emplace(GitFolder{identifierOf(git), Ancestry(git, folders_)});
  if (identifier && identifier == git_->identifier) return true;
  return git_->ancestry.isParentOf(identifier, folders_.parentOf(url));
}

bool LookupCache::isParentIgnored(const URL& url) {
  if (places_.ignoredUrls->empty()) return false;
  const FolderCache::Folder* folder = folders_.parentOf(url);
  const auto [known, isNew] = ignored_.try_emplace(folder, false);
  if (isNew) known->second = isOrIsInIgnored(folder);
  return known->second;
}

bool LookupCache::isOrIsInIgnored(const FolderCache::Folder* folder) {
  const std::optional<FileIdentifier> root =
      places_.root ? identifierOf(*places_.root) : std::nullopt;
  for (; folder != nullptr; folder = folder->parent()) {
    const std::optional<FileIdentifier>& identifier = folders_.identifierOf(*folder);
    if (!identifier) continue;
    if (identifier == root) return false;
    if (places_.ignoredUrls->contains(folder->path(), identifier, folders_.files())) return true;
  }
  return false;
}

bool LookupCache::isDirty(const URL& folder, const std::shared_ptr<const UrlList>& dirtyUrls) {
  if (!dirty_ || dirty_->urls() != dirtyUrls) dirty_.emplace(dirtyUrls, folders_);
  return dirty_->isOneInside(folder);
}

}  // namespace kelpie
