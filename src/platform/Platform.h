#pragma once

#include "platform/Bundle.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/Entitlements.h"
#include "platform/FileSystem.h"
#include "platform/FinderSyncController.h"
#include "platform/Log.h"
#include "platform/MessagePort.h"
#include "platform/ProcessMonitor.h"
#include "platform/ResourceLimits.h"
#include "platform/RunningApplications.h"
#include "platform/SerialQueue.h"
#include "platform/UserDefaults.h"

namespace kelpie {

// All that the core asks of an operating system, handed to the controller when it is made. Whoever
// makes it owns what it refers to and keeps that alive for as long as the controller, its
// repositories and the tasks that they have posted. The FileSystem is also the one installed with
// FileSystem::install().
struct Platform {
  FinderSyncController& finder;
  MessagePorts& messagePorts;
  UserDefaultsCenter& defaults;
  Entitlements& entitlements;
  RunningApplications& applications;
  ProcessMonitors& processMonitors;
  DistributedNotificationCenter& notifications;
  FileSystem& files;
  SerialQueues& queues;
  Bundle& bundle;
  ResourceLimits& limits;
  Log& log;
};

}  // namespace kelpie
