#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "foundation/Mutex.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// A serial queue that can be closed. Closing drops the tasks that wait, and tasks that are posted
// later are dropped at once, so that a closed queue holds nothing. Any thread.
class UpdateQueue final : public SerialQueue {
 public:
  // Runs its tasks on `queue`.
  explicit UpdateQueue(std::shared_ptr<SerialQueue> queue);
  // Closes it.
  ~UpdateQueue() override;
  UpdateQueue(const UpdateQueue&) = delete;
  UpdateQueue& operator=(const UpdateQueue&) = delete;

  void post(std::function<void()> task) override;
  bool isCurrent() const override;

  // A task that runs is not stopped. Closing again does nothing.
  void close();
  bool isClosed() const;

 private:
  struct State {
    Mutex mutex;
    bool closed KELPIE_GUARDED_BY(mutex) = false;
    std::deque<std::function<void()>> tasks KELPIE_GUARDED_BY(mutex);

    void runNext();
  };

  const std::shared_ptr<SerialQueue> queue_;
  const std::shared_ptr<State> state_;  // shared with what `queue_` has been given
};

}  // namespace kelpie
