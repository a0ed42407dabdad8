#pragma once

#include <memory>

#include "platform/Platform.h"
#include "platform/macos/MacBundle.h"
#include "platform/macos/MacEntitlements.h"
#include "platform/macos/MacFileSystem.h"
#include "platform/macos/MacFinderSyncController.h"
#include "platform/macos/MacMessagePorts.h"
#include "platform/macos/MacNotificationCenter.h"
#include "platform/macos/MacProcessMonitors.h"
#include "platform/macos/MacResourceLimits.h"
#include "platform/macos/MacRunningApplications.h"
#include "platform/macos/MacSerialQueues.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/SystemLog.h"
#include "settings/KPUserDefaults.h"

namespace kelpie {

// macOS, as the core is handed it. One per process.
class MacPlatform {
 public:
  // The process's own, made by the first call and never let go: queues use it to the very end.
  // Installs its file system. Main thread, before a second thread runs the core.
  static MacPlatform& shared();

  MacPlatform() = default;
  MacPlatform(const MacPlatform&) = delete;
  MacPlatform& operator=(const MacPlatform&) = delete;

  const Platform& platform() const { return platform_; }
  // The settings that are shared with the main application.
  KPUserDefaults& defaults() { return defaults_; }

 private:
  MacFinderSyncController finder_;
  MacMessagePorts messagePorts_;
  MacUserDefaultsCenter defaultsCenter_;
  MacEntitlements entitlements_;
  MacRunningApplications applications_;
  MacProcessMonitors processMonitors_;
  MacNotificationCenter notifications_;
  const std::shared_ptr<MacFileSystem> files_ = std::make_shared<MacFileSystem>();
  MacSerialQueues queues_;
  MacBundle bundle_;
  MacResourceLimits limits_;
  SystemLog log_;
  const Platform platform_{finder_,       messagePorts_,    defaultsCenter_, entitlements_,
                           applications_, processMonitors_, notifications_,  *files_,
                           queues_,       bundle_,          limits_,         log_};
  KPUserDefaults defaults_{platform_};
};

}  // namespace kelpie
