#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "agent/AgentService.h"
#include "agent/WaitingCopies.h"
#include "linux/base/BusName.h"
#include "linux/base/MainLoop.h"
#include "linux/base/RuntimeDirectory.h"
#include "linux/base/SessionBus.h"
#include "platform/Log.h"
#include "platform/ProcessMonitor.h"
#include "platform/linux/LinuxNotificationCenter.h"
#include "platform/linux/LinuxProcessMonitors.h"

namespace kelpie::agent {

// The life of the process: it waits for its turn among several copies, serves, and ends. Main
// thread.
class AgentProgram {
 public:
  // Runs the program with these arguments, its own name left out, until it is told to end. The exit
  // status: 0, also when the session has ended; 1 when it cannot serve, which is said in one line;
  // 2 for arguments that it does not know.
  static int main(std::span<char* const> arguments);

 private:
  AgentProgram(Log& log, const RuntimeDirectory& runtime);

  // From here on nothing returns to a caller: the process ends with ProcessEnd, whatever its queues
  // do. A git that only answers questions ends with it; a git that changes a repository runs to its
  // end.
  [[noreturn]] void serve();
  std::unique_ptr<SessionBus> connectToBus();
  void nameTaken();
  void nameAcquired();
  void watchOwner();
  void startService();
  // The process of another copy that owns the name; absent when there is none, or the bus does not
  // say.
  std::optional<std::int32_t> pidOfOwner() const;

  Log& log_;
  const RuntimeDirectory& runtime_;
  MainLoop loop_;
  LinuxProcessMonitors monitors_;
  std::unique_ptr<SessionBus> bus_;
  LinuxNotificationCenter notifications_;
  WaitingCopies waitingCopies_;
  std::optional<BusName> name_;
  bool hasName_ = false;
  // Of the copy that this one waits for; null when it waits for none.
  std::shared_ptr<ProcessMonitor> ownerMonitor_;
  std::unique_ptr<EventLoop::Timer> patience_;  // until the wait is told of
  bool hasSaidSo_ = false;
  std::unique_ptr<AgentService> service_;
};

}  // namespace kelpie::agent
