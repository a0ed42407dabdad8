#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace kelpie::agent {

// SIGTERM, SIGINT and SIGHUP: the process is to end. They are taken on a thread of their own, so
// that a main thread that hangs does not keep the process alive.
class EndSignals {
 public:
  // To be made before any other thread, which inherit that the signals are blocked. Once in a
  // process, for the rest of its life. `end` is called on the signals' thread at the first signal;
  // when the process still lives after `grace`, its socket files are removed and it is ended with
  // status 0.
  explicit EndSignals(std::function<void()> end, std::chrono::milliseconds grace = kGrace);
  ~EndSignals() = default;
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  static constexpr std::chrono::milliseconds kGrace{200};
};

}  // namespace kelpie::agent
