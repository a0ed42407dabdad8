#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"

namespace kelpie {

// The calls of all fakes of one platform in order, one line each, so that a test can check the
// order across them. The header of each fake says which lines it writes.
// Any thread.
class EventLog {
 public:
  void add(std::string line);
  void clear();

  std::vector<std::string> lines() const;
  // Those that begin with `prefix`.
  std::vector<std::string> linesWith(std::string_view prefix) const;
  std::size_t count(std::string_view prefix) const { return linesWith(prefix).size(); }

 private:
  mutable Mutex mutex_;
  std::vector<std::string> lines_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
