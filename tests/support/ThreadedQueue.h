#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

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

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;  // guarded by mutex_
  bool busy_ = false;                        // guarded by mutex_
  bool ending_ = false;                      // guarded by mutex_
  std::size_t done_ = 0;                     // guarded by mutex_
  std::thread thread_;                       // last: uses all the others
};

}  // namespace kelpie
