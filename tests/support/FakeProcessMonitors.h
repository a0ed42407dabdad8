#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>

#include "platform/ProcessMonitor.h"
#include "platform/SerialQueue.h"
#include "support/EventLog.h"

namespace kelpie {

// Watches on processes that end when the test says so. Writes "monitors.make PID",
// "monitors.resume PID" and "monitors.cancel PID". Main thread.
class FakeProcessMonitors final : public ProcessMonitors {
 public:
  // Handlers run in tasks of `mainQueue`.
  FakeProcessMonitors(EventLog& events, std::shared_ptr<SerialQueue> mainQueue);
  ~FakeProcessMonitors() override;

  // Gives an event to every watch on `pid` that is resumed and not cancelled.
  void fire(std::int32_t pid);
  // From now on the process counts as gone: a watch on it fires as soon as it is resumed.
  void setGone(std::int32_t pid);
  // How many watches are resumed and not cancelled.
  std::size_t running() const;

  std::shared_ptr<ProcessMonitor> makeMonitor(std::int32_t pid) override;

 private:
  class Monitor;
  struct State;

  std::shared_ptr<State> state_;  // shared with the monitors
};

}  // namespace kelpie
