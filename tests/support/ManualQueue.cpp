#include "support/ManualQueue.h"

#include <gtest/gtest.h>

#include <utility>

namespace kelpie {
namespace {

thread_local const ManualQueue* currentQueue = nullptr;

// Says which queue runs on this thread while one of its tasks does; such runs may nest.
class RunningQueue {
 public:
  explicit RunningQueue(const ManualQueue* queue) : former_(std::exchange(currentQueue, queue)) {}
  ~RunningQueue() { currentQueue = former_; }
  RunningQueue(const RunningQueue&) = delete;
  RunningQueue& operator=(const RunningQueue&) = delete;

 private:
  const ManualQueue* former_;
};

}  // namespace

ManualQueue::ManualQueue(std::string label, std::atomic<std::uint64_t>& order)
    : label_(std::move(label)), order_(order) {}

std::size_t ManualQueue::pending() const {
  const MutexLock lock(mutex_);
  return tasks_.size();
}

std::optional<std::uint64_t> ManualQueue::nextOrder() const {
  const MutexLock lock(mutex_);
  return tasks_.empty() ? std::nullopt : std::optional(tasks_.front().order);
}

bool ManualQueue::runOne() {
  Task task;
  {
    const MutexLock lock(mutex_);
    if (tasks_.empty()) return false;
    task = std::move(tasks_.front());
    tasks_.pop_front();
  }
  const RunningQueue running(this);
  task.run();
  task.run = nullptr;  // what the task holds goes while it is still the current one
  return true;
}

void ManualQueue::runAll() {
  constexpr int kLimit = 1'000'000;
  for (int i = 0; i < kLimit; ++i)
    if (!runOne()) return;
  ADD_FAILURE() << "the queue \"" << label_ << "\" never runs dry";
}

void ManualQueue::dropAll() {
  std::deque<Task> dropped;
  const MutexLock lock(mutex_);
  dropped.swap(tasks_);
}

void ManualQueue::post(std::function<void()> task) {
  const MutexLock lock(mutex_);
  tasks_.push_back({order_++, std::move(task)});
}

bool ManualQueue::isCurrent() const { return currentQueue == this; }

}  // namespace kelpie
