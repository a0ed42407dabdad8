#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <thread>

#include "foundation/ConditionVariable.h"
#include "foundation/Mutex.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// A queue with a thread of its own, for the tests that prove the absence of data races. Its
// destruction runs what was posted and waits for that.
class ThreadedQueue final : public SerialQueue {
 public:
  ThreadedQueue();
  ~ThreadedQueue() override;
  ThreadedQueue(const ThreadedQueue&) = delete;
  ThreadedQueue& operator=(const ThreadedQueue&) = delete;

  // Waits until nothing runs and nothing waits. How many tasks this queue has run by then.
  std::size_t waitUntilIdle();

  void post(std::function<void()> task) override;
  bool isCurrent() const override;

 private:
  void run();

  Mutex mutex_;
  ConditionVariable changed_;
  std::deque<std::function<void()>> tasks_ KELPIE_GUARDED_BY(mutex_);
  bool busy_ KELPIE_GUARDED_BY(mutex_) = false;
  bool ending_ KELPIE_GUARDED_BY(mutex_) = false;
  std::size_t done_ KELPIE_GUARDED_BY(mutex_) = 0;
  std::thread thread_;  // last: uses all the others
};

}  // namespace kelpie
