#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FunctionRef.h"
#include "foundation/Mutex.h"

namespace kelpie {

// The paths of the items that the file manager has shown in one folder. The controller and the
// repository that has the folder as its root share one set. Paths are bytes. Any thread.
//
// A folder may hold a hundred thousand items, and each costs its path and a few bytes here: the
// paths stand one after the other in one text, and a table of their positions finds them.
class PathSet {
 public:
  PathSet() = default;
  PathSet(const PathSet&) = delete;
  PathSet& operator=(const PathSet&) = delete;

  // Adds; a path that is there already stays once.
  void add(std::string_view path);

  // Removes paths; unknown ones are ignored.
  void remove(const std::vector<std::string>& paths);

  bool contains(std::string_view path) const;
  std::size_t size() const;
  // Absent when there is none.
  std::optional<std::string> first() const;
  // Whether `test`, which is called with a lock held, holds for all paths.
  bool allOf(FunctionRef<bool(std::string_view path)> test) const;
  // A copy, in the order in which they came, so that it can be walked while others add.
  std::vector<std::string> paths() const;

 private:
  // Positions in ends_, plus 1; 0 is a free slot. At most half of them are taken.
  using Slot = std::uint32_t;

  void addUnlocked(std::string_view path) KELPIE_REQUIRES(mutex_);
  std::string_view pathAt(std::size_t index) const KELPIE_REQUIRES(mutex_);
  // Where the path stands in slots_, or the free slot where it would.
  std::size_t slotOf(std::string_view path) const KELPIE_REQUIRES(mutex_);
  void grow() KELPIE_REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::string text_ KELPIE_GUARDED_BY(mutex_);
  std::vector<std::size_t> ends_ KELPIE_GUARDED_BY(mutex_);
  std::vector<Slot> slots_ KELPIE_GUARDED_BY(mutex_);  // a power of two of them, or none
};

}  // namespace kelpie
