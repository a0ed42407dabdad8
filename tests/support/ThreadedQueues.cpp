#include "support/ThreadedQueues.h"

#include <cstddef>
#include <optional>

namespace kelpie {

ThreadedQueues::ThreadedQueues() : main_(std::make_shared<ThreadedQueue>()), queues_{main_} {}

std::vector<std::shared_ptr<ThreadedQueue>> ThreadedQueues::all() const {
  const MutexLock lock(mutex_);
  return queues_;
}

void ThreadedQueues::waitUntilIdle() {
  // A queue that was idle may have been posted to since; when a whole round has run nothing more
  // than the one before, nothing can be on its way.
  std::optional<std::size_t> formerly;
  for (;;) {
    std::size_t done = 0;
    for (const auto& queue : all()) done += queue->waitUntilIdle();
    if (formerly == done) return;
    formerly = done;
  }
}

std::shared_ptr<SerialQueue> ThreadedQueues::makeQueue(std::string_view /*label*/) {
  auto queue = std::make_shared<ThreadedQueue>();
  const MutexLock lock(mutex_);
  queues_.push_back(queue);
  return queue;
}

}  // namespace kelpie
