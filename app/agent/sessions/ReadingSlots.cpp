#include "agent/sessions/ReadingSlots.h"

#include <algorithm>
#include <utility>

namespace kelpie::agent {

ReadingSlots::ReadingSlots(EventLoop& loop, std::size_t slots, std::chrono::milliseconds patience)
    : loop_(loop), slots_(std::max<std::size_t>(slots, 1)), patience_(patience) {}

void ReadingSlots::enter(Urgency urgency, std::function<void(Ticket ticket)> start) {
  thread_.check();
  waiting_.at(static_cast<std::size_t>(urgency)).push_back(std::move(start));
  startNext();
}

void ReadingSlots::leave(Ticket ticket) {
  thread_.check();
  if (running_.erase(ticket) > 0) startNext();
}

ReadingSlots::Waiting* ReadingSlots::nextWaiting() {
  const auto found =
      std::ranges::find_if(waiting_, [](const Waiting& each) { return !each.empty(); });
  return found == waiting_.end() ? nullptr : &*found;
}

void ReadingSlots::startNext() {
  while (running_.size() < slots_) {
    Waiting* const waiting = nextWaiting();
    if (waiting == nullptr) return;
    const std::function<void(Ticket)> start = std::move(waiting->front());
    waiting->pop_front();
    const Ticket ticket = ++last_;
    running_.emplace(ticket, loop_.callAfter(patience_, [this, ticket] { leave(ticket); }));
    start(ticket);
  }
}

}  // namespace kelpie::agent
