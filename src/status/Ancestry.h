#pragma once

#include <optional>
#include <unordered_map>

#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "status/FolderCache.h"

namespace kelpie {

// URL::isParentOfUrl() of one URL, for many others within one piece of work: the same answers, but
// every folder on the way is looked at once. One thread at a time.
class Ancestry {
 public:
  // Asks `cache`, which outlives this.
  Ancestry(const URL& receiver, FolderCache& cache);

  // Whether the receiver is a parent of the item with this identifier (absent when nothing is
  // there) in this folder (null when there is none).
  bool isParentOf(const std::optional<FileIdentifier>& item, const FolderCache::Folder* folder);

 private:
  bool isUpward(const FolderCache::Folder* folder);

  FolderCache& cache_;
  std::optional<FileIdentifier> receiver_;  // absent when it is parent of nothing
  std::optional<FileIdentifier> stop_;      // its own parent, at which the way up ends
  std::unordered_map<const FolderCache::Folder*, bool> known_;
};

}  // namespace kelpie
