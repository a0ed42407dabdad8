#include "foundation/ConditionVariable.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace kelpie {
namespace {

// A number that one thread raises and another waits for.
class Counter {
 public:
  void raise() {
    const MutexLock lock(mutex_);
    ++value_;
    changed_.notifyAll();
  }

  void waitFor(int value) {
    MutexLock lock(mutex_);
    changed_.wait(lock, [this, value]() KELPIE_REQUIRES(mutex_) { return value_ >= value; });
  }

  bool waitUntil(int value, std::chrono::steady_clock::time_point limit) {
    MutexLock lock(mutex_);
    return changed_.waitUntil(lock, limit,
                              [this, value]() KELPIE_REQUIRES(mutex_) { return value_ >= value; });
  }

 private:
  Mutex mutex_;
  ConditionVariable changed_;
  int value_ KELPIE_GUARDED_BY(mutex_) = 0;
};

TEST(ConditionVariable, WaitsUntilTheConditionHolds) {
  Counter counter;
  std::thread other([&counter] {
    for (int i = 0; i < 1000; ++i) counter.raise();
  });
  counter.waitFor(1000);
  other.join();
}

TEST(ConditionVariable, GivesUpAtTheLimit) {
  Counter counter;
  EXPECT_FALSE(counter.waitUntil(1, std::chrono::steady_clock::now()));
  counter.raise();
  EXPECT_TRUE(counter.waitUntil(1, std::chrono::steady_clock::now()));
}

TEST(Mutex, IsFreeBetweenUnlockAndLock) {
  Mutex mutex;
  MutexLock lock(mutex);
  lock.unlock();
  std::thread([&mutex] { const MutexLock other(mutex); }).join();
  lock.lock();
}

}  // namespace
}  // namespace kelpie
