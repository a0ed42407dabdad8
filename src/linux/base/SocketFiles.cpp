#include "linux/base/SocketFiles.h"

#include <unistd.h>

namespace kelpie {

SocketFiles& SocketFiles::shared() {
  static SocketFiles files;
  return files;
}

void SocketFiles::add(const std::string& path, FunctionRef<bool()> make) {
  const MutexLock lock(mutex_);
  if (!ended_ && make()) paths_.insert(path);
}

void SocketFiles::remove(const std::string& path) {
  const MutexLock lock(mutex_);
  if (paths_.erase(path) > 0) ::unlink(path.c_str());
}

void SocketFiles::removeAllForGood() {
  const MutexLock lock(mutex_);
  for (const std::string& path : paths_) ::unlink(path.c_str());
  paths_.clear();
  ended_ = true;
}

}  // namespace kelpie
