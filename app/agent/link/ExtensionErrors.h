#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "agent/desktop/Notifier.h"
#include "foundation/Object.h"
#include "foundation/ThreadBound.h"
#include "platform/Log.h"

namespace kelpie::agent {

// The extension's errors for the user: each is logged, and shown unless the same was shown a moment
// ago. Main thread.
class ExtensionErrors {
 public:
  ExtensionErrors(Log& log, Notifier& notifier) : log_(log), notifier_(notifier) {}

  // The argument of "showError:": an error, or a dictionary of its texts. False, and nothing shown,
  // for anything else.
  bool show(const Object& argument);
  // The same message as JSON text, which comes when the port has failed. False, and nothing shown,
  // for anything else.
  bool showJson(std::string_view text);

  // The same error is shown again after so long.
  static constexpr std::chrono::seconds kSilence{60};

 private:
  using Clock = std::chrono::steady_clock;

  void show(const std::string& summary, const std::string& detail);

  Log& log_;
  Notifier& notifier_;
  std::string last_;
  std::optional<Clock::time_point> lastShown_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
