#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/ProcessMonitor.h"

namespace kelpie {

// Watches, and one process that runs until it is ended. Main thread.
class ProcessMonitorWorld {
 public:
  virtual ~ProcessMonitorWorld() = default;
  virtual ProcessMonitors& monitors() = 0;
  // Of that process.
  virtual std::int32_t pid() const = 0;
  // Ends it; it is gone when this returns.
  virtual void end() = 0;
  // Lets events be delivered until the condition holds; false when it does not.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class ProcessMonitorContract
    : public testing::TestWithParam<std::unique_ptr<ProcessMonitorWorld> (*)()> {
 protected:
  // A watch on the process that counts its events.
  std::shared_ptr<ProcessMonitor> watch(int& events) {
    auto monitor = world->monitors().makeMonitor(world->pid());
    monitor->setEventHandler([&events] { ++events; });
    return monitor;
  }

  const std::unique_ptr<ProcessMonitorWorld> world = GetParam()();
};

}  // namespace kelpie
