#include "support/ThreadedQueue.h"

#include <cstddef>
#include <utility>

namespace kelpie {

ThreadedQueue::ThreadedQueue() : thread_([this] { run(); }) {}

ThreadedQueue::~ThreadedQueue() {
  {
    const MutexLock lock(mutex_);
    ending_ = true;
  }
  changed_.notifyAll();
  thread_.join();
}

std::size_t ThreadedQueue::waitUntilIdle() {
  MutexLock lock(mutex_);
  changed_.wait(lock, [this]() KELPIE_REQUIRES(mutex_) { return tasks_.empty() && !busy_; });
  return done_;
}

void ThreadedQueue::post(std::function<void()> task) {
  {
    const MutexLock lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  changed_.notifyAll();
}

bool ThreadedQueue::isCurrent() const { return std::this_thread::get_id() == thread_.get_id(); }

void ThreadedQueue::run() {
  MutexLock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this]() KELPIE_REQUIRES(mutex_) { return !tasks_.empty() || ending_; });
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
    changed_.notifyAll();
  }
}

}  // namespace kelpie
