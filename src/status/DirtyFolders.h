#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>

#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "status/FolderCache.h"
#include "status/UrlList.h"

namespace kelpie {

// The folders above a list of changed items, so that many folders can be asked whether one of the
// items lies inside without trying all of them for each. One thread at a time.
class DirtyFolders {
 public:
  // Asks `cache`, which outlives this.
  DirtyFolders(std::shared_ptr<const UrlList> urls, FolderCache& cache);

  const std::shared_ptr<const UrlList>& urls() const { return urls_; }

  // Whether `folder` is a parent (URL::isParentOfUrl) of one of the items.
  bool isOneInside(const URL& folder);

 private:
  std::shared_ptr<const UrlList> urls_;
  FolderCache& cache_;
  // For each file that a folder on the way up from an item is, the first such item.
  std::unordered_map<FileIdentifier, std::size_t> firstBelow_;
};

}  // namespace kelpie
