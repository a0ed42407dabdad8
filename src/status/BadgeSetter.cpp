#include "status/BadgeSetter.h"

#include <algorithm>

namespace kelpie {

void BadgeSetter::set(std::string_view badge, const URL& url) {
  const std::thread::id self = std::this_thread::get_id();
  {
    const MutexLock lock(mutex_);
    if (stopped_) return;
    setting_.push_back(self);
  }
  finder_.setBadgeIdentifier(badge, url);
  const MutexLock lock(mutex_);
  setting_.erase(std::ranges::find(setting_, self));
  if (stopped_) changed_.notifyAll();
}

// A file manager may stop this while it is handed a badge; it must not wait for itself then.
void BadgeSetter::stop() {
  const auto isOwn = [self = std::this_thread::get_id()](std::thread::id thread) {
    return thread == self;
  };
  MutexLock lock(mutex_);
  stopped_ = true;
  changed_.wait(lock,
                [&]() KELPIE_REQUIRES(mutex_) { return std::ranges::all_of(setting_, isOwn); });
}

bool BadgeSetter::isStopped() const {
  const MutexLock lock(mutex_);
  return stopped_;
}

}  // namespace kelpie
