#pragma once

#include <cstdint>
#include <memory>

#include "platform/ProcessMonitor.h"

namespace kelpie {

// Dispatch sources on processes: for their exit and for any signal that they receive.
class MacProcessMonitors final : public ProcessMonitors {
 public:
  std::shared_ptr<ProcessMonitor> makeMonitor(std::int32_t pid) override;
};

}  // namespace kelpie
