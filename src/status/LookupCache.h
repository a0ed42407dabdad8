#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>

#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "status/Ancestry.h"
#include "status/DirtyFolders.h"
#include "status/FolderCache.h"
#include "status/FolderContents.h"
#include "status/ItemPlaces.h"
#include "status/UrlList.h"

namespace kelpie {

// The look-ups in the file system that the badges of one piece of work need, each made once. The
// results are those that each item would get by itself. One thread at a time.
class LookupCache {
 public:
  // `files` outlives this.
  LookupCache(ItemPlaces places, const FileSystem& files);

  // The root and the git directory as paths, where file references were given.
  const ItemPlaces& places() const { return places_; }
  FolderCache& folders() { return folders_; }

  // The identifier of the file at the URL; absent when nothing is there and for anything but a file
  // URL.
  std::optional<FileIdentifier> identifierOf(const URL& url);

  // Looks at an item. Only folders are remembered: other items are met once.
  ResourceValues look(const URL& item);

  // The caller has just looked at the root and saw `values`.
  void rememberRoot(const ResourceValues& values);
  // Whether another folder than the one with this identifier stands in the root's place. False when
  // nothing stands there, and without an identifier.
  bool isDisplaced(const std::optional<FileIdentifier>& root);
  // Whether the item with this identifier is the root or lies inside it.
  bool isInRoot(const URL& url, const std::optional<FileIdentifier>& identifier);
  // Whether the item with this identifier is the git directory or lies inside it.
  bool isGitItem(const URL& url, const std::optional<FileIdentifier>& identifier);
  // Whether a folder above the item and below the root is ignored.
  bool isParentIgnored(const URL& url);
  // Whether one of the changed items lies inside the folder.
  bool isDirty(const URL& folder, const std::shared_ptr<const UrlList>& dirtyUrls);
  // The files below folders, without what is ignored.
  FolderContents& contents() { return contents_; }

 private:
  struct GitFolder {
    std::optional<FileIdentifier> identifier;
    Ancestry ancestry;
  };

  bool isOrIsInIgnored(const FolderCache::Folder* folder);

  const ItemPlaces places_;
  FolderCache folders_;
  FolderContents contents_;
  std::optional<Ancestry> root_;       // made when it is first needed
  std::optional<GitFolder> git_;       // the same
  std::optional<DirtyFolders> dirty_;  // of the list that was asked about last
  std::unordered_map<const FolderCache::Folder*, bool> ignored_;
};

}  // namespace kelpie
