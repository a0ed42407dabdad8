#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

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
  void read();

  std::mutex mutex_;
  UniqueFd file_;                         // stays open: its changes can be polled for
  bool known_ = false;                    // guarded by mutex_
  std::vector<std::string> mountPoints_;  // guarded by mutex_; sorted
};

}  // namespace kelpie
