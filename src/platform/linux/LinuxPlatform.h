#pragma once

#include <memory>
#include <string>

#include "linux/base/MainLoop.h"
#include "linux/base/RuntimeDirectory.h"
#include "linux/base/SessionBus.h"
#include "linux/base/ThreadPool.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxBundle.h"
#include "platform/linux/LinuxEntitlements.h"
#include "platform/linux/LinuxFileSystem.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "platform/linux/LinuxMessagePorts.h"
#include "platform/linux/LinuxNotificationCenter.h"
#include "platform/linux/LinuxProcessMonitors.h"
#include "platform/linux/LinuxResourceLimits.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/LinuxSerialQueues.h"
#include "platform/linux/LinuxUserDefaultsCenter.h"

namespace kelpie {

// All facilities of this system for one process. Main thread.
class LinuxPlatform {
 public:
  // Installs the file system for the process. `bus` may be null; borrowed objects outlive this. The
  // runtime directory is prepared, and `imagesFolder` an absolute path.
  LinuxPlatform(MainLoop& loop, const RuntimeDirectory& runtime, const SessionBus* bus,
                std::string imagesFolder);
  LinuxPlatform(const LinuxPlatform&) = delete;
  LinuxPlatform& operator=(const LinuxPlatform&) = delete;

  // What the core is handed.
  const Platform& platform() const { return platform_; }
  LinuxFinderSyncController& finder() { return finder_; }
  const LinuxBundle& bundle() const { return bundle_; }

 private:
  LinuxBundle bundle_;
  LinuxEntitlements entitlements_;
  LinuxResourceLimits limits_;
  std::shared_ptr<LinuxFileSystem> files_;
  LinuxUserDefaultsCenter defaults_;
  LinuxFinderSyncController finder_;
  LinuxMessagePorts ports_;
  LinuxRunningApplications applications_;
  LinuxProcessMonitors monitors_;
  LinuxNotificationCenter notifications_;
  ThreadPool pool_;  // goes first of what its tasks use
  LinuxSerialQueues queues_;
  Platform platform_;
};

}  // namespace kelpie
