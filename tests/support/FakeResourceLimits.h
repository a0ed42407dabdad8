#pragma once

#include <optional>

#include "platform/ResourceLimits.h"
#include "support/EventLog.h"

namespace kelpie {

// Limits in a variable. Writes "limits.read" and "limits.set SOFT HARD".
class FakeResourceLimits final : public ResourceLimits {
 public:
  explicit FakeResourceLimits(EventLog& events) : events_(events) {}

  // The limit in force; absent makes reading fail.
  std::optional<OpenFilesLimit> limit = OpenFilesLimit{1024, 524288};

  std::optional<OpenFilesLimit> openFilesLimit() const override;
  // Refuses a soft limit above the hard one, and a hard one above the one in force.
  bool setOpenFilesLimit(const OpenFilesLimit& wanted) override;

 private:
  EventLog& events_;
};

}  // namespace kelpie
