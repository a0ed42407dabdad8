#include "agent/ReadingSlots.h"

#include <algorithm>
#include <utility>

namespace kelpie::agent {

ReadingSlots::ReadingSlots(MainLoop& loop, std::size_t slots, std::chrono::milliseconds patience)
    : loop_(loop), slots_(std::max<std::size_t>(slots, 1)), patience_(patience) {}

void ReadingSlots::enter(std::function<void(Ticket ticket)> start) {
  waiting_.push_back(std::move(start));
  startNext();
}

void ReadingSlots::leave(Ticket ticket) {
  if (running_.erase(ticket) > 0) startNext();
}

void ReadingSlots::startNext() {
  while (running_.size() < slots_ && !waiting_.empty()) {
    const std::function<void(Ticket)> start = std::move(waiting_.front());
    waiting_.pop_front();
    const Ticket ticket = ++last_;
    running_.emplace(ticket, loop_.callAfter(patience_, [this, ticket] { leave(ticket); }));
    start(ticket);
  }
}

}  // namespace kelpie::agent
