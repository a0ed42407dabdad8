#pragma once

#include <set>
#include <string>

#include "foundation/FunctionRef.h"
#include "foundation/Mutex.h"

namespace kelpie {

// The socket files that this process has made, so that they can be removed when it ends, on any
// thread. Any thread.
class SocketFiles {
 public:
  static SocketFiles& shared();

  // Notes the file that `make` makes at `path`, if that returns true. An end that comes meanwhile
  // waits for it: of a file that it did not know of, nothing would be left but the file. Once the
  // process ends, nothing is made any more.
  void add(const std::string& path, FunctionRef<bool()> make);
  // Removes the file.
  void remove(const std::string& path);
  // Removes all files, and has no other be made: the process ends.
  void removeAllForGood();

 private:
  Mutex mutex_;
  std::set<std::string> paths_ KELPIE_GUARDED_BY(mutex_);
  bool ended_ KELPIE_GUARDED_BY(mutex_) = false;
};

}  // namespace kelpie
