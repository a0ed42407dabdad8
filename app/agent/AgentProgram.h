#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/AgentService.h"
#include "platform/ProcessMonitor.h"
#include "platform/linux/BusName.h"
#include "platform/linux/LinuxProcessMonitors.h"
#include "platform/linux/MainLoop.h"
#include "platform/linux/RuntimeDirectory.h"
#include "platform/linux/SessionBus.h"
#include "platform/linux/StderrLog.h"

namespace kelpie::agent {

// The life of the process: it waits for its turn among several copies, serves, and ends. Main
// thread.
class AgentProgram {
 public:
  AgentProgram() = default;
  AgentProgram(const AgentProgram&) = delete;
  AgentProgram& operator=(const AgentProgram&) = delete;
  ~AgentProgram() = default;

  // The program as it was called, without its name. Answers the exit status: 0 also when it was
  // told to end or its session has ended; 1 when it cannot run, which a log line explains; 2 when
  // it was called with what it does not understand.
  static int run(const std::vector<std::string>& arguments);

 private:
  [[noreturn]] void serve();
  void nameTaken();
  void nameAcquired();
  void watchOwner();
  void startService();
  // The process of another copy that has the name; missing when none has, or the bus does not say.
  std::optional<std::int32_t> pidOfOwner() const;
  [[noreturn]] void end(int status);

  StderrLog log_;
  MainLoop loop_{log_};
  RuntimeDirectory runtime_;
  LinuxProcessMonitors monitors_{loop_};
  std::unique_ptr<SessionBus> bus_;
  std::unique_ptr<BusName> name_;
  bool hasEnded_ = false;  // the bus
  bool hasName_ = false;
  // Of the copy that this one waits for; null when it waits for none.
  std::shared_ptr<ProcessMonitor> ownerMonitor_;
  std::unique_ptr<AgentService> service_;
};

}  // namespace kelpie::agent
