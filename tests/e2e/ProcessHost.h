#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/base/MainLoop.h"
#include "linux/base/RuntimeDirectory.h"
#include "platform/linux/DefaultsFile.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/TemporaryFolder.h"
#include "support/linux/ChildProcess.h"
#include "support/linux/PrivateBus.h"

namespace kelpie {

// A user's session for one test: a home folder, settings, a runtime directory and a session bus of
// its own, in which the programs of this build run as real processes. All of it goes with this.
// One thread, which has the main loop.
class ProcessHost {
 public:
  ProcessHost();
  ProcessHost(const ProcessHost&) = delete;
  ProcessHost& operator=(const ProcessHost&) = delete;

  // -- The session --------------------------------------------------------------------------------

  // The home folder, empty at first.
  const TemporaryFolder& home() const { return home_; }
  // Where the programs have their sockets.
  const RuntimeDirectory& runtime() const { return runtime_; }
  // The settings that the programs share.
  DefaultsFile sharedDefaults() const;
  PrivateBus& bus() { return *bus_; }
  // Ends the bus; programs that are started from now on have another one.
  void restartBus();
  // Programs that are started from now on have no session bus.
  void removeBusFromEnvironment();
  // A variable of those that are started from now on; missing takes it away.
  void setVariable(const std::string& name, std::optional<std::string> value);
  // What they find in their environment.
  const ChildProcess::Environment& environment() const { return environment_; }

  // -- Programs -----------------------------------------------------------------------------------

  // The absolute path of one of this build's programs.
  static std::string program(const std::string& name);
  std::unique_ptr<ChildProcess> start(const std::string& name,
                                      const std::vector<std::string>& arguments = {}) const;
  // kelpie-sync, once it serves hosts.
  std::unique_ptr<ChildProcess> startSync();
  // The name of that process's receiving port.
  static std::string portNameOf(const ChildProcess& sync);

  // -- Waiting ------------------------------------------------------------------------------------

  // Runs the main loop until `done` returns true. False when that does not come.
  bool waitUntil(const std::function<bool()>& done);
  // Runs the main loop for a moment, before something that tells nobody is asked again.
  void letTimePass();
  // Waits until somebody listens on the socket at `path`.
  bool waitForSocket(const std::string& path);

  MainLoop& loop() { return loop_; }
  FakeLog& log() { return log_; }

 private:
  TemporaryFolder home_;
  TemporaryFolder session_;  // the user's runtime directory
  RuntimeDirectory runtime_;
  ChildProcess::Environment environment_;
  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  std::unique_ptr<PrivateBus> bus_;
};

}  // namespace kelpie
