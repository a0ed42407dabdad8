#pragma once

#include <set>
#include <string>

#include "foundation/Mutex.h"

namespace kelpie {

// The socket files that this process has made, so that they can be taken away when it ends, on
// whatever thread that is decided. Any thread.
class SocketFiles {
 public:
  static SocketFiles& shared();

  void add(const std::string& path);
  // Takes the file away.
  void remove(const std::string& path);
  // Takes all away, and from then on each that is added at once: the process ends.
  void removeAllForGood();

 private:
  SocketFiles() = default;

  Mutex mutex_;
  std::set<std::string> paths_ KELPIE_GUARDED_BY(mutex_);
  bool ended_ KELPIE_GUARDED_BY(mutex_) = false;
};

}  // namespace kelpie
