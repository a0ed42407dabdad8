#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"

namespace kelpie {

// What all fakes of one platform were asked, in the order of asking, a line an event: so a test can
// tell what came before what across them. The header of each fake says which lines it writes.
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
