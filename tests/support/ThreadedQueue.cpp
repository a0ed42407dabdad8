#include "support/ThreadedQueue.h"

#include <utility>

namespace kelpie {

ThreadedQueue::ThreadedQueue() : thread_([this] { run(); }) {}

ThreadedQueue::~ThreadedQueue() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

std::size_t ThreadedQueue::waitUntilIdle() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return tasks_.empty() && !busy_; });
  return done_;
}

void ThreadedQueue::post(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  changed_.notify_all();
}

bool ThreadedQueue::isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

void ThreadedQueue::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return !tasks_.empty() || ending_; });
    if (tasks_.empty()) return;
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    busy_ = true;
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
    busy_ = false;
    ++done_;
    changed_.notify_all();
  }
}

}  // namespace kelpie
