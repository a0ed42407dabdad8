#pragma once

#include <cstdint>
#include <memory>

#include "linux/base/MainLoop.h"
#include "platform/ProcessMonitor.h"

namespace kelpie {

// Watches on the exit of processes. Signals that do not end a process cannot be seen on this
// system. All watches on one process share one file descriptor.
class LinuxProcessMonitors final : public ProcessMonitors {
 public:
  // `loop` outlives this and all monitors.
  explicit LinuxProcessMonitors(MainLoop& loop);
  // Ends all watches; no handler is called for that.
  ~LinuxProcessMonitors() override;
  LinuxProcessMonitors(const LinuxProcessMonitors&) = delete;
  LinuxProcessMonitors& operator=(const LinuxProcessMonitors&) = delete;

  // A process that cannot be watched gives no event; that is logged as one line.
  std::shared_ptr<ProcessMonitor> makeMonitor(std::int32_t pid) override;

  // Runs the event handlers of all processes that have ended by now, each once, instead of when
  // their turn comes on the main thread. For what must not be handled before such an end. Main
  // thread.
  void handleEnds();

 private:
  class Monitor;
  class Exit;
  struct State;

  std::shared_ptr<State> state_;  // shared with the monitors
};

}  // namespace kelpie
