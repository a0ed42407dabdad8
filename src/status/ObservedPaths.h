#pragma once

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/Mutex.h"
#include "status/PathSet.h"

namespace kelpie {

// What the file manager has shown: for each folder, by its identifier, the set of paths of the
// items in it. The sets are shared; a set that is removed here lives on while others hold it. Any
// thread.
class ObservedPaths {
 public:
  ObservedPaths() = default;
  ObservedPaths(const ObservedPaths&) = delete;
  ObservedPaths& operator=(const ObservedPaths&) = delete;

  // The folder's set; null when there is none.
  std::shared_ptr<PathSet> find(const FileIdentifier& folder) const;
  // The folder's set, made and stored empty when there is none. Never null.
  std::shared_ptr<PathSet> findOrCreate(const FileIdentifier& folder);
  // Adds or replaces the folder's set. Null removes it.
  void set(const FileIdentifier& folder, std::shared_ptr<PathSet> paths);
  void remove(const FileIdentifier& folder);

  // All sets, in no particular order. The sets themselves are shared, not copied.
  std::vector<std::shared_ptr<PathSet>> sets() const;
  // The same with their folders.
  std::vector<std::pair<FileIdentifier, std::shared_ptr<PathSet>>> entries() const;

 private:
  mutable Mutex mutex_;
  std::unordered_map<FileIdentifier, std::shared_ptr<PathSet>> sets_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
