#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace kelpie {

// Main thread.
class RunningApplications {
 public:
  virtual ~RunningApplications() = default;
  // The process ids of the running applications with that identifier, each once.
  virtual std::vector<std::int32_t> withBundleIdentifier(std::string_view identifier) = 0;
  // This process's own id.
  virtual std::int32_t currentProcessIdentifier() const = 0;
};

}  // namespace kelpie
