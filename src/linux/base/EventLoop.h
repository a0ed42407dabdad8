#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/Log.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// What the main thread's event loop gives to those that run on it and know nothing of sockets:
// its queue, its clock and its timers. MainLoop is the real one.
class EventLoop {
 public:
  using Clock = std::chrono::steady_clock;

  // A task that waits for its time; letting it go calls the task off, also from inside the task.
  // Main thread.
  class Timer {
   public:
    virtual ~Timer() = default;
  };

  virtual ~EventLoop() = default;

  // The main thread's queue. Its tasks run one after the other, and other events come in between.
  // isCurrent() is true on the main thread, whatever event runs there. Any thread.
  virtual std::shared_ptr<SerialQueue> queue() const = 0;
  // Calls `task` once, so long after now() at the earliest. Main thread.
  virtual std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                           std::function<void()> task) = 0;
  // The time that the timers go by. Any thread.
  virtual Clock::time_point now() const = 0;
  // Any thread.
  virtual Log& log() const = 0;
};

}  // namespace kelpie
