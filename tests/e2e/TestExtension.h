#pragma once

#include <memory>
#include <string>
#include <vector>

#include "e2e/ProcessHost.h"
#include "foundation/Object.h"
#include "linux/base/SessionBus.h"
#include "platform/linux/LinuxMessagePorts.h"
#include "platform/linux/LinuxNotificationCenter.h"

namespace kelpie {

// The test as the extension: it has a port of its own, hears the main application's notification,
// and speaks to its port.
class TestExtension {
 public:
  // `processes` outlives this.
  explicit TestExtension(ProcessHost& processes);

  // How often the main application has said that it runs.
  int announcements() const { return announcements_; }
  // What the shared settings held at the first time, and whether the application had its port.
  const Dictionary& settingsWhenAnnounced() const { return settings_; }
  bool couldConnectWhenAnnounced() const { return couldConnect_; }
  bool waitForAnnouncement(int number);

  // Sends the main application a selector message. False when nobody takes it.
  bool send(const std::string& selector, const Object& argument);
  bool open(const std::string& folder, bool shallow);
  // Waits for a message of that selector and takes the oldest. nil when none comes.
  Object waitFor(const std::string& selector);

 private:
  ProcessHost& processes_;
  std::unique_ptr<SessionBus> bus_;
  LinuxMessagePorts ports_;
  LinuxNotificationCenter notifications_;
  std::string portName_;
  std::unique_ptr<LocalMessagePort> port_;
  std::unique_ptr<NotificationObservation> observation_;
  std::vector<Object> received_;
  int announcements_ = 0;
  Dictionary settings_;
  bool couldConnect_ = false;
};

}  // namespace kelpie
