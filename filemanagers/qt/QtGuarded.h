#pragma once

#include <QLoggingCategory>

#include <chrono>
#include <exception>
#include <utility>

namespace kelpie::filemanagers {

// What the extension says, as "kelpie" (QT_LOGGING_RULES="kelpie.debug=true" for all of it).
const QLoggingCategory& kelpieLog();

// Remembers for each kind of call the longest time that it has held the main loop, and says a new
// one in the debug log. Main thread.
class QtHeldTime {
 public:
  explicit QtHeldTime(const char* what) : what_(what) {}
  ~QtHeldTime();
  QtHeldTime(const QtHeldTime&) = delete;
  QtHeldTime& operator=(const QtHeldTime&) = delete;

 private:
  const char* what_;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

// Runs what the file manager or its main loop has called us for. Nothing that goes wrong in there
// reaches the file manager: an exception is a line in the log.
template <class Call>
void qtGuarded(const char* what, Call&& call) noexcept {
  const QtHeldTime held(what);
  try {
    std::forward<Call>(call)();
  } catch (const std::exception& error) {
    qCWarning(kelpieLog, "%s: %s", what, error.what());
  } catch (...) {
    qCWarning(kelpieLog, "%s: unknown exception", what);
  }
}

}  // namespace kelpie::filemanagers
