#pragma once

#include <string_view>

namespace kelpie {

// The system log.
class Log {
 public:
  virtual ~Log() = default;
  // Any thread. One line for one event; control characters in it are the log's business to escape.
  virtual void write(std::string_view line) = 0;
};

}  // namespace kelpie
