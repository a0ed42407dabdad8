#pragma once

#include <chrono>
#include <condition_variable>

#include "foundation/Mutex.h"

namespace kelpie {

// Waits for what other threads change under a Mutex. Any thread.
//
// A condition is a lambda that reads guarded values, and so says that it is called with the lock
// held: [this]() KELPIE_REQUIRES(mutex_) { return ready_; }
class ConditionVariable {
 public:
  ConditionVariable() = default;
  ConditionVariable(const ConditionVariable&) = delete;
  ConditionVariable& operator=(const ConditionVariable&) = delete;

  // `lock` is held; it is let go while the thread waits.
  template <class Condition>
  KELPIE_UNCHECKED void wait(MutexLock& lock, Condition condition) {
    changed_.wait(lock.lock_, condition);
  }
  // Waits until `limit` at most. Returns what `condition` returned last.
  template <class Condition>
  KELPIE_UNCHECKED bool waitUntil(MutexLock& lock, std::chrono::steady_clock::time_point limit,
                                  Condition condition) {
    return changed_.wait_until(lock.lock_, limit, condition);
  }

  void notifyOne() { changed_.notify_one(); }
  void notifyAll() { changed_.notify_all(); }

 private:
  std::condition_variable changed_;
};

}  // namespace kelpie
