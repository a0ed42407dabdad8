#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace kelpie::agent {

// A call that is to come; letting it go calls it off.
class Timer {
 public:
  virtual ~Timer() = default;
};

// The clock of the main loop. Main thread.
class Timers {
 public:
  using Clock = std::chrono::steady_clock;

  virtual ~Timers() = default;
  virtual Clock::time_point now() const = 0;
  // Calls `task` once on the main loop, `delay` from now or a little later.
  virtual std::unique_ptr<Timer> after(std::chrono::milliseconds delay,
                                       std::function<void()> task) = 0;
};

}  // namespace kelpie::agent
