#pragma once

#include <memory>
#include <string>

#include "support/TemporaryFolder.h"
#include "support/linux/ChildProcess.h"

namespace kelpie {

// A session bus of the test's own, which goes with it. It starts no services but those of the
// folders that its environment names.
class PrivateBus {
 public:
  explicit PrivateBus(const ChildProcess::Environment& environment = {});

  // Its D-Bus address.
  const std::string& address() const { return address_; }
  ChildProcess& process() { return *daemon_; }
  // Ends the bus, and with it all connections.
  void end();

 private:
  TemporaryFolder folder_;
  std::string address_;
  std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace kelpie
