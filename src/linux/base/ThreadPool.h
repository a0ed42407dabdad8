#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/Log.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// A small number of threads that all serial queues share. Threads are made when there is work for
// them. A while after the last work all but one end, and that one waits without waking up. A task
// that keeps its thread for longer than the pool's patience while other work waits is given up: the
// pool makes up for the thread and takes it back, or lets it go, when the task returns after all.
// Work that never returns therefore costs only its own queue.
class ThreadPool {
 public:
  // How long a thread waits for more work.
  static constexpr std::chrono::seconds kSpareTime{10};

  // `log` outlives the process's threads. `threads` is how many run at once, given-up ones not
  // counted; at least 1.
  ThreadPool(Log& log, std::size_t threads, std::chrono::milliseconds spareTime = kSpareTime);
  // Runs the posted tasks and waits for them, but not for tasks that were given up.
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // A new serial queue. It may outlive the pool; what is posted to it then never runs.
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label);

  // How many threads the pool has at present, given-up ones included. Any thread.
  std::size_t threads() const;

 private:
  class Core;
  class Queue;
  struct QueueState;

  std::shared_ptr<Core> core_;  // shared with the threads, which may outlive the pool
};

}  // namespace kelpie
