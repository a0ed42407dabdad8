#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kelpie {

// The paths of the items that the file manager has shown in one folder. The controller and the
// repository whose root the folder is share one set: what either adds, the other has. Paths are
// bytes. Any thread.
class PathSet {
 public:
  PathSet() = default;
  PathSet(const PathSet&) = delete;
  PathSet& operator=(const PathSet&) = delete;

  // Adds; a path that is there already stays once.
  void add(std::string_view path);

  bool contains(std::string_view path) const;
  std::size_t size() const;
  // A copy, in no particular order, so that it can be walked while others add.
  std::vector<std::string> paths() const;

 private:
  mutable std::mutex mutex_;
  std::unordered_set<std::string> paths_;  // guarded by mutex_
};

}  // namespace kelpie
