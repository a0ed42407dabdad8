#include "support/linux/PrivateBus.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace kelpie {

PrivateBus::PrivateBus(const ChildProcess::Environment& environment)
    : address_("unix:path=" + (folder_ / "bus")),
      daemon_(std::make_unique<ChildProcess>(
          std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--nopidfile",
                                   "--print-address", "--address=" + address_},
          environment)) {
  EXPECT_TRUE(daemon_->waitForOutput("\n")) << daemon_->errors();
}

void PrivateBus::end() {
  daemon_->signal(SIGTERM);
  EXPECT_TRUE(daemon_->waitForEnd());
}

}  // namespace kelpie
