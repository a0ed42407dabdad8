#pragma once

#include "agent/Timers.h"

namespace kelpie::agent {

// Timers of GLib's default main context.
class GLibTimers final : public Timers {
 public:
  Clock::time_point now() const override { return Clock::now(); }
  std::unique_ptr<Timer> after(std::chrono::milliseconds delay,
                               std::function<void()> task) override;
};

}  // namespace kelpie::agent
