#pragma once

#include <chrono>
#include <optional>

namespace kelpie::agent {

// When to look at a repository again after something in it has changed: soon after the last change
// of a burst, now and then during a burst that does not end, and the more rarely the longer looking
// takes or the less it finds, so that a program that writes all the time does not keep git running
// all the time. Says when; its owner keeps the clock. One thread.
class ReadingPace {
 public:
  using Clock = std::chrono::steady_clock;

  // How long nothing must change for a burst to be over.
  static constexpr std::chrono::milliseconds kQuiet{50};
  // How long a burst may go on before it is read anyway.
  static constexpr std::chrono::milliseconds kPatience{1000};
  // The longest pause that spares the machine.
  static constexpr std::chrono::milliseconds kLongestRest{2000};

  void changed(Clock::time_point now);
  void started(Clock::time_point now);
  // `foundSomething`: the reading differed from the one before.
  void finished(Clock::time_point now, bool foundSomething);

  // Something has changed since the last reading started.
  bool hasChanged() const { return firstChange_.has_value(); }
  // When to start the next reading; absent while one runs and when nothing has changed.
  std::optional<Clock::time_point> next() const;

 private:
  std::optional<Clock::time_point> firstChange_;  // since the last start
  Clock::time_point lastChange_;
  std::optional<Clock::time_point> started_;  // while a reading runs
  std::optional<Clock::time_point> finished_;
  Clock::duration rest_{};
  int inVain_ = 0;  // readings without a result, in close succession
};

}  // namespace kelpie::agent
