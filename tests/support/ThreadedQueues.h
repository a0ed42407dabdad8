#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/SerialQueue.h"
#include "support/ThreadedQueue.h"

namespace kelpie {

// Queues that run by themselves, the main thread's included, each on a thread of its own.
class ThreadedQueues final : public SerialQueues {
 public:
  ThreadedQueues();

  // Waits until nothing runs and nothing waits on any queue. The caller sees to it that no thread
  // but the queues' own posts meanwhile.
  void waitUntilIdle();

  std::shared_ptr<SerialQueue> mainQueue() override { return main_; }
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label) override;

 private:
  std::vector<std::shared_ptr<ThreadedQueue>> all() const;

  std::shared_ptr<ThreadedQueue> main_;
  mutable Mutex mutex_;
  std::vector<std::shared_ptr<ThreadedQueue>> queues_
      KELPIE_GUARDED_BY(mutex_);  // main_ comes first
};

}  // namespace kelpie
