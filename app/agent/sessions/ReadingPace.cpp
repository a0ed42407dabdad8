#include "agent/sessions/ReadingPace.h"

#include <algorithm>

namespace kelpie::agent {
namespace {

// Doublings of the pause after readings that found nothing.
constexpr int kMaximumDoublings = 4;

}  // namespace

void ReadingPace::changed(Clock::time_point now) {
  if (!firstChange_) firstChange_ = now;
  lastChange_ = now;
}

void ReadingPace::started(Clock::time_point now) {
  // A repository that was left alone for a while is looked at without delay.
  if (finished_ && now - *finished_ > kPatience + rest_) inVain_ = 0;
  started_ = now;
  firstChange_.reset();
}

void ReadingPace::finished(Clock::time_point now, bool foundSomething) {
  inVain_ = foundSomething ? 0 : std::min(inVain_ + 1, kMaximumDoublings);
  const Clock::duration took = started_ ? now - *started_ : Clock::duration::zero();
  const int factor = foundSomething ? 1 : 1 << (inVain_ - 1);
  rest_ = std::min<Clock::duration>(took * factor, std::max<Clock::duration>(kLongestRest, took));
  started_.reset();
  finished_ = now;
}

std::optional<ReadingPace::Clock::time_point> ReadingPace::next() const {
  if (started_ || !firstChange_) return std::nullopt;
  Clock::time_point at = std::min(lastChange_ + kQuiet, *firstChange_ + kPatience);
  if (finished_) at = std::max(at, *finished_ + rest_);
  return at;
}

}  // namespace kelpie::agent
