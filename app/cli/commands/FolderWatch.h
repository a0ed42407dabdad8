#pragma once

#include <string>
#include <vector>

#include "foundation/ThreadBound.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::cli {

// Tells of items that are new in one folder. Main thread.
class FolderWatch {
 public:
  // A folder that cannot be watched never tells anything.
  explicit FolderWatch(std::string folder);

  // Becomes readable when there is something to tell; -1 when that never happens.
  int descriptor() const { return events_.get(); }
  // The names of the items that came since the last call. After more than the system kept account
  // of, those of all items. Does not wait.
  std::vector<std::string> newNames();

 private:
  std::string folder_;
  UniqueFd events_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
