#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace kelpie {

// A watch on one process, for its exit and, where the system can tell, any signal that it receives.
// Once resumed it lives and fires until it is cancelled, also when nobody holds it any more. Main
// queue.
class ProcessMonitor {
 public:
  virtual ~ProcessMonitor() = default;
  // Runs on the main thread for each event. To be set before resume().
  virtual void setEventHandler(std::function<void()> handler) = 0;
  // Runs on the main thread once, after cancel().
  virtual void setCancelHandler(std::function<void()> handler) = 0;
  virtual void resume() = 0;
  // No event handler starts after this; handlers are let go after the cancel handler has run.
  virtual void cancel() = 0;
};

class ProcessMonitors {
 public:
  virtual ~ProcessMonitors() = default;
  // Never null. A process that is gone already gives an event as soon as the watch is resumed.
  virtual std::shared_ptr<ProcessMonitor> makeMonitor(std::int32_t pid) = 0;
};

}  // namespace kelpie
