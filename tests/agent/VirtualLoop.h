#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "linux/base/EventLoop.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {

// An event loop whose time passes only when the simulation says so, from one timer to the next.
class VirtualLoop final : public EventLoop {
 public:
  VirtualLoop(ManualQueues& queues, Log& log) : queues_(queues), log_(log) {}

  std::shared_ptr<SerialQueue> queue() const override { return queues_.mainQueue(); }
  std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                   std::function<void()> task) override;
  Clock::time_point now() const override { return now_; }
  Log& log() const override { return log_; }

  // Time passes until the next timer, which runs. False when there is none.
  bool runNextTimer();

 private:
  class Waiting;
  using Key = std::pair<Clock::time_point, std::uint64_t>;
  using Timers = std::map<Key, std::function<void()>>;

  ManualQueues& queues_;
  Log& log_;
  std::shared_ptr<Timers> timers_ = std::make_shared<Timers>();
  std::uint64_t last_ = 0;
  Clock::time_point now_{std::chrono::hours(1)};
};

}  // namespace kelpie::agent
