#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "linux/base/UniqueFd.h"

namespace kelpie {

// Where other file systems are mounted, as this process sees it. Read again only when the system
// says that it has changed. Any thread.
class MountTable {
 public:
  static MountTable& shared();

  // Whether something is mounted below the folder, a file included; also true when the table cannot
  // be read. `folder` is a path without links.
  bool hasMountBelow(std::string_view folder);

  // The mount points in a text of the form of /proc/self/mountinfo.
  static std::vector<std::string> mountPoints(std::string_view mountInfo);

 private:
  MountTable();
  bool hasChanged() const;
  void read() KELPIE_REQUIRES(mutex_);

  Mutex mutex_;
  UniqueFd file_;  // stays open: its changes can be polled for
  bool known_ KELPIE_GUARDED_BY(mutex_) = false;
  std::vector<std::string> mountPoints_ KELPIE_GUARDED_BY(mutex_);  // sorted
};

}  // namespace kelpie
