#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "extension/KPKelpieSync.h"
#include "linux/base/BusName.h"
#include "linux/base/MainLoop.h"
#include "linux/base/RuntimeDirectory.h"
#include "linux/base/SessionBus.h"
#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostLinkServer.h"
#include "platform/Log.h"
#include "platform/linux/LinuxPlatform.h"
#include "settings/KPUserDefaults.h"

namespace kelpie {

// kelpie-sync: the controller, with all that this system gives it, behind the host link. One per
// process; main thread.
class SyncProgram {
 public:
  // Runs the program with these arguments, its own name left out, until it is told to end. The exit
  // status: 0; 1 when it cannot serve, which is said in one line; 2 for arguments that it does not
  // know.
  static int main(std::span<char* const> arguments);

 private:
  SyncProgram(Log& log, const RuntimeDirectory& runtime);

  // From here to the last line of main() nothing returns to a caller: the process ends with
  // ProcessEnd, however its queues are.
  [[noreturn]] void serve();
  std::unique_ptr<SessionBus> connectToBus();
  std::optional<std::string> makeController();
  std::optional<std::string> openHostLink();
  std::optional<std::string> checkPort() const;
  void claimName();

  Log& log_;
  const RuntimeDirectory& runtime_;
  MainLoop loop_;
  std::unique_ptr<SessionBus> bus_;  // null without a session bus
  LinuxPlatform system_;
  KPUserDefaults defaults_;
  std::unique_ptr<KPKelpieSync> controller_;
  std::optional<HostLinkHub> hub_;
  std::unique_ptr<HostLinkServer> server_;
  std::optional<BusName> name_;
};

}  // namespace kelpie
