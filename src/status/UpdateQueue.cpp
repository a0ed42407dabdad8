#include "status/UpdateQueue.h"

#include <utility>

namespace kelpie {

UpdateQueue::UpdateQueue(std::shared_ptr<SerialQueue> queue)
    : queue_(std::move(queue)), state_(std::make_shared<State>()) {}

UpdateQueue::~UpdateQueue() { close(); }

// The tasks given to the queue below are small and hold no task of ours: that queue cannot be
// emptied.
void UpdateQueue::post(std::function<void()> task) {
  const MutexLock lock(state_->mutex);
  if (state_->closed) return;
  state_->tasks.push_back(std::move(task));
  queue_->post([state = state_] { state->runNext(); });
}

bool UpdateQueue::isCurrent() const { return queue_->isCurrent(); }

void UpdateQueue::close() {
  std::deque<std::function<void()>> dropped;  // ends after the lock
  const MutexLock lock(state_->mutex);
  state_->closed = true;
  dropped.swap(state_->tasks);
}

bool UpdateQueue::isClosed() const {
  const MutexLock lock(state_->mutex);
  return state_->closed;
}

void UpdateQueue::State::runNext() {
  std::function<void()> task;
  {
    const MutexLock lock(mutex);
    if (tasks.empty()) return;
    task = std::move(tasks.front());
    tasks.pop_front();
  }
  task();
}

}  // namespace kelpie
