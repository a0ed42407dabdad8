#pragma once

#include <glib.h>

#include <chrono>
#include <exception>
#include <utility>

namespace kelpie::filemanagers {

// Remembers for each kind of call the longest time that it has held the main loop, and says a new
// one in the debug log (G_MESSAGES_DEBUG=kelpie). Main thread.
class HeldTime {
 public:
  explicit HeldTime(const char* what) : what_(what) {}
  ~HeldTime();
  HeldTime(const HeldTime&) = delete;
  HeldTime& operator=(const HeldTime&) = delete;

 private:
  const char* what_;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

// Runs what the file manager or its main loop has called us for. Nothing that goes wrong in there
// reaches the file manager: an exception is a line in the log.
template <class Call>
void guarded(const char* what, Call&& call) noexcept {
  const HeldTime held(what);
  try {
    std::forward<Call>(call)();
  } catch (const std::exception& error) {
    g_warning("%s: %s", what, error.what());
  } catch (...) {
    g_warning("%s: unknown exception", what);
  }
}

}  // namespace kelpie::filemanagers
