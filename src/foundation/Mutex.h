#pragma once

#include <mutex>

#include "foundation/ThreadSafety.h"

namespace kelpie {

// A mutex that the compiler knows: see ThreadSafety.h. Locked by a MutexLock. Any thread.
class KELPIE_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

// Holds a mutex while it lives, except between unlock() and lock().
class KELPIE_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) KELPIE_ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() KELPIE_RELEASE() {}  // NOLINT(modernize-use-equals-default): it needs the attribute
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void unlock() KELPIE_RELEASE() { lock_.unlock(); }
  void lock() KELPIE_ACQUIRE() { lock_.lock(); }

 private:
  friend class ConditionVariable;
  std::unique_lock<std::mutex> lock_;
};

}  // namespace kelpie
