#include "agent/sessions/ReadingLane.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

namespace kelpie::agent {

using Clock = ReadingPace::Clock;

ReadingLane::ReadingLane(EventLoop& loop, std::shared_ptr<ReadingSlots> slots,
                         ReadingSlots::Urgency urgency, std::function<void()> begin)
    : loop_(loop), slots_(std::move(slots)), urgency_(urgency), begin_(std::move(begin)) {}

ReadingLane::~ReadingLane() {
  if (stage_ == Stage::Reading) slots_->leave(ticket_);
}

void ReadingLane::changed() {
  thread_.check();
  pace_.changed(loop_.now());
  schedule();
}

void ReadingLane::setWanted(bool wanted) {
  thread_.check();
  wanted_ = wanted;
  schedule();
}

void ReadingLane::finished(bool foundSomething) {
  thread_.check();
  stage_ = Stage::Resting;
  pace_.finished(loop_.now(), foundSomething);
  slots_->leave(ticket_);
  schedule();
}

// A timer that is set already only looks again when it fires: during a burst nothing is set anew.
void ReadingLane::schedule() {
  if (!wanted_ || stage_ != Stage::Resting || timer_ != nullptr) return;
  const std::optional<Clock::time_point> next = pace_.next();
  if (!next) return;
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*next - loop_.now());
  timer_ = loop_.callAfter(std::max(wait, std::chrono::milliseconds::zero()), [this] { due(); });
}

void ReadingLane::due() {
  timer_.reset();
  const std::optional<Clock::time_point> next = pace_.next();
  if (!wanted_ || !next || *next > loop_.now()) return schedule();
  stage_ = Stage::Queued;
  queueUp();
}

void ReadingLane::setUrgency(ReadingSlots::Urgency urgency) {
  thread_.check();
  if (std::exchange(urgency_, urgency) != urgency && stage_ == Stage::Queued) queueUp();
}

// The lane may stand in two queues: the turn that comes first counts.
void ReadingLane::queueUp() {
  slots_->enter(urgency_, [this, alive = std::weak_ptr<bool>(alive_),
                           slots = slots_.get()](ReadingSlots::Ticket ticket) {
    if (alive.expired()) return slots->leave(ticket);
    begin(ticket);
  });
}

void ReadingLane::begin(ReadingSlots::Ticket ticket) {
  if (stage_ != Stage::Queued) return slots_->leave(ticket);
  if (!wanted_) {
    stage_ = Stage::Resting;
    return slots_->leave(ticket);
  }
  ticket_ = ticket;
  stage_ = Stage::Reading;
  pace_.started(loop_.now());
  begin_();
}

}  // namespace kelpie::agent
