#pragma once

#include <memory>
#include <string_view>

#include "platform/Platform.h"
#include "support/EventLog.h"
#include "support/FakeBundle.h"
#include "support/FakeEntitlements.h"
#include "support/FakeFileSystem.h"
#include "support/FakeFinder.h"
#include "support/FakeLog.h"
#include "support/FakeMessagePorts.h"
#include "support/FakeNotificationCenter.h"
#include "support/FakeProcessMonitors.h"
#include "support/FakeResourceLimits.h"
#include "support/FakeRunningApplications.h"
#include "support/FakeUserDefaultsCenter.h"
#include "support/ManualQueues.h"
#include "support/ScopedFileSystem.h"

namespace kelpie {

// A whole operating system that a test holds in its hand. All fakes write to one log of events.
// Its file system is the process's while this lives. It outlives the controller and whatever else
// was made with platform().
class FakePlatform {
 public:
  static constexpr std::string_view kApplicationGroup = "group.org.kelpie";

  FakePlatform();
  // With queues that run by themselves, for tests with real threads; `queues` stays unused then,
  // and `realQueues` outlives this.
  explicit FakePlatform(SerialQueues& realQueues);

  // What the core is handed.
  const Platform& platform() const { return platform_; }
  // The same, but with another file manager, or other files too; the caller installs those.
  Platform platformWith(FinderSyncController& otherFinder) const;
  Platform platformWith(FinderSyncController& otherFinder, FileSystem& otherFiles) const;
  // The settings that the main application writes.
  FakeUserDefaults& groupDefaults() { return defaults.suite(kApplicationGroup); }
  // Runs all manual queues dry.
  void runAll() { queues.runAll(); }

  EventLog events;
  ManualQueues queues;
  std::shared_ptr<FakeFileSystem> files;
  FakeFinder finder;
  FakeMessagePorts messagePorts;
  FakeUserDefaultsCenter defaults;
  FakeEntitlements entitlements;
  FakeRunningApplications applications;
  FakeProcessMonitors processMonitors;
  FakeNotificationCenter notifications;
  FakeBundle bundle;
  FakeResourceLimits limits;
  FakeLog log;

 private:
  explicit FakePlatform(SerialQueues* realQueues);

  ScopedFileSystem installed_;
  Platform platform_;
};

}  // namespace kelpie
