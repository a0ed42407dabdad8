#pragma once

#include <set>
#include <string>

#include "foundation/Mutex.h"

namespace kelpie {

// The socket files that this process has made, so that they can be removed when it ends, on any
// thread. Any thread.
class SocketFiles {
 public:
  static SocketFiles& shared();

  void add(const std::string& path);
  // Removes the file.
  void remove(const std::string& path);
  // Removes all files, and from then on each that is added, at once: the process ends.
  void removeAllForGood();

 private:
  SocketFiles() = default;

  Mutex mutex_;
  std::set<std::string> paths_ KELPIE_GUARDED_BY(mutex_);
  bool ended_ KELPIE_GUARDED_BY(mutex_) = false;
};

}  // namespace kelpie
