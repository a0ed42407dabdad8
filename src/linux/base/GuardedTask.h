#pragma once

#include <stdexcept>
#include <string>

#include "platform/Log.h"

namespace kelpie {

// Runs one task or event. The one exception that the core lets out, std::invalid_argument for a
// dictionary that was to hold an absent value, costs that task only: it is logged as one line.
template <class Task>
void runGuarded(Log& log, Task&& task) noexcept {
  try {
    task();
  } catch (const std::invalid_argument& error) {
    log.write(std::string("invalid argument: ") + error.what());
  }
}

}  // namespace kelpie
