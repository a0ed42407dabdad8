#include "common/MenuWait.h"

namespace kelpie::filemanagers {

bool MenuWait::wait(const std::function<bool()>& done, const Server& serve, Time now) {
  if (done()) return true;
  if (now < noWaitBefore_ || isWaiting_) return false;
  noWaitBefore_ = now + kPause;
  isWaiting_ = true;
  bool isThere = false;
  try {
    isThere = serve(done, kLimit);
  } catch (...) {
    isWaiting_ = false;
    throw;
  }
  isWaiting_ = false;
  if (isThere) noWaitBefore_ = now;
  return isThere;
}

}  // namespace kelpie::filemanagers
