#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>

#include "foundation/ThreadBound.h"
#include "linux/base/EventLoop.h"

namespace kelpie::agent {

// Lets only a few readings run at a time, so that a thousand repositories that change together do
// not start a thousand gits. A reading that takes very long, such as on a file system that does not
// answer, counts as ended after a while: the others go on. Main thread.
class ReadingSlots {
 public:
  using Ticket = std::uint64_t;

  // `loop` outlives this. At least one slot.
  ReadingSlots(EventLoop& loop, std::size_t slots, std::chrono::milliseconds patience = kPatience);

  // What is waited for, the most urgent first: items on screen, then items that may never be.
  enum class Urgency { Finding, Status, References, LaterStatus, LaterFinding };

  // Calls `start` with a ticket: at once, or when the turn has come. Every ticket is given back.
  void enter(Urgency urgency, std::function<void(Ticket ticket)> start);
  void leave(Ticket ticket);

  std::size_t running() const { return running_.size(); }

  static constexpr std::chrono::milliseconds kPatience{5000};

 private:
  using Waiting = std::deque<std::function<void(Ticket)>>;

  void startNext();
  // The most urgent queue that is not empty; null when all are.
  Waiting* nextWaiting();

  EventLoop& loop_;
  const std::size_t slots_;
  const std::chrono::milliseconds patience_;
  // Each with the timer after which it no longer counts.
  std::map<Ticket, std::unique_ptr<EventLoop::Timer>> running_;
  std::array<Waiting, 5> waiting_;  // by urgency
  Ticket last_ = 0;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
