#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace kelpie {

// Runs tasks in the order of their arrival, one at a time. Shared by those who post to it; it may
// be let go at any time, also from inside one of its own tasks: what was posted still runs.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  // Any thread. Never runs `task` inline. A task that never returns costs this queue only.
  virtual void post(std::function<void()> task) = 0;
  // Whether the calling thread is inside one of this queue's tasks.
  virtual bool isCurrent() const = 0;
};

// Where queues come from. Any thread.
class SerialQueues {
 public:
  virtual ~SerialQueues() = default;
  // The main thread's queue, which the main loop drains.
  virtual std::shared_ptr<SerialQueue> mainQueue() = 0;
  // A new queue. The label, such as "org.kelpie.Kelpie.Sync.UpdateQueue", is for debuggers; several
  // queues may bear the same.
  virtual std::shared_ptr<SerialQueue> makeQueue(std::string_view label) = 0;
};

}  // namespace kelpie
