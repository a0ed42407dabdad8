#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "e2e/ProcessHost.h"
#include "foundation/Object.h"
#include "linux/base/BusName.h"
#include "linux/base/SessionBus.h"
#include "platform/linux/LinuxMessagePorts.h"
#include "platform/linux/LinuxNotificationCenter.h"

namespace kelpie {

// The test as the main application: it owns the bus name and the port, keeps what it is sent, and
// sends what the test says. What it knows of a repository is what the test makes up.
class TestApplication {
 public:
  struct Received {
    std::int32_t id;
    Object message;
  };

  // Who has the bus name, and so is the application's process.
  enum class Name { Own, LeaveToAnotherProcess };

  // Opens its port and takes its place in the name's queue; announces nothing yet. `processes`
  // outlives this.
  explicit TestApplication(ProcessHost& processes, Name name = Name::Own);

  // Writes the version to the shared settings.
  void writeVersion(const std::string& version);
  // Says that it runs.
  void announce();

  // Runs the main loop until a message of that selector is there, and takes it; those before it are
  // dropped. Absent when none comes.
  std::optional<Received> waitFor(const std::string& selector);
  // How many messages of that selector have been sent and were neither taken nor dropped: also
  // those that are still on their way.
  std::size_t count(const std::string& selector);
  // Sends the extension a message to the repository `target` (nil: to the extension itself). All
  // that goes to one port goes over one connection.
  void send(const std::string& portName, const std::string& selector, const Object& target,
            const Object& argument);

 private:
  void claimName();

  ProcessHost& processes_;
  std::unique_ptr<SessionBus> bus_;
  LinuxMessagePorts ports_;
  LinuxNotificationCenter notifications_;
  std::unique_ptr<LocalMessagePort> port_;
  std::map<std::string, std::shared_ptr<RemoteMessagePort>> sendingPorts_;  // by name
  std::vector<Received> received_;
  std::optional<BusName> name_;
};

}  // namespace kelpie
