#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Log.h"
#include "support/EventLog.h"

namespace kelpie {

// Writes "log LINE". Any thread.
class FakeLog final : public Log {
 public:
  explicit FakeLog(EventLog& events) : events_(events) {}

  void write(std::string_view line) override;
  // What was logged, without the "log ".
  std::vector<std::string> lines() const;

 private:
  EventLog& events_;
};

}  // namespace kelpie
