#pragma once

#include <string_view>

#include "platform/Log.h"

namespace kelpie {

// Writes one event as one line to the system log. Control characters are escaped, bytes that are
// not UTF-8 show as U+FFFD, and a line of more than 4 KB is cut. Any thread.
void writeSystemLog(std::string_view line);

// The system log. Any thread.
class SystemLog final : public Log {
 public:
  void write(std::string_view line) override { writeSystemLog(line); }
};

}  // namespace kelpie
