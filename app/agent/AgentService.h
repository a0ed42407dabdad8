#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "agent/BusInterface.h"
#include "agent/ProtocolPeer.h"
#include "agent/RefusedRepositories.h"
#include "agent/WithheldNotices.h"
#include "agent/actions/ActionProgress.h"
#include "agent/actions/ActionRunner.h"
#include "agent/actions/MenuActions.h"
#include "agent/desktop/DesktopNotifier.h"
#include "agent/git/GitCommand.h"
#include "agent/git/ProgramGuard.h"
#include "agent/link/ExtensionErrors.h"
#include "agent/link/ExtensionPorts.h"
#include "agent/sessions/RepositoryRegistry.h"
#include "agent/sessions/SettingsWatch.h"
#include "agent/watch/DirectoryWatcher.h"
#include "linux/base/MainLoop.h"
#include "linux/base/RuntimeDirectory.h"
#include "linux/base/SessionBus.h"
#include "linux/base/ThreadPool.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/linux/LinuxFileSystem.h"
#include "platform/linux/LinuxMessagePorts.h"
#include "platform/linux/LinuxSerialQueues.h"
#include "platform/linux/LinuxUserDefaultsCenter.h"

namespace kelpie::agent {

// The main application at work: its end of the message link and everything behind it. Main thread.
class AgentService {
 public:
  // All outlive this. `runtime` is prepared. `quit` is called when the user wants the agent to end.
  AgentService(MainLoop& loop, const SessionBus& bus, DistributedNotificationCenter& notifications,
               const RuntimeDirectory& runtime, std::function<void()> quit);
  AgentService(const AgentService&) = delete;
  AgentService& operator=(const AgentService&) = delete;
  ~AgentService() = default;

  // Opens the port, writes the running version to the shared settings, and then announces itself to
  // the extensions. False, after a log line, when another application has the port.
  bool start();
  // Tells the extensions to look for this application.
  void announce();

 private:
  // Listens for changes of files; where the system has no watcher to give, asks again in a while.
  void watchChanges();
  // What the user's file says, for all parts.
  struct Configuration {
    GitCommand git{"git", "/"};
    ActionJob::Means means;
    std::size_t neighbours = 0;
  };
  Configuration configuration() const;
  // The guard of that git, which knows which repositories the user trusts and reports programs that
  // are not run.
  std::shared_ptr<ProgramGuard> makeGuard(const GitCommand& git) const;
  void publish();
  void summarise(const std::string& path, const BusInterface::SummaryTeller& tell);

  MainLoop& loop_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  LinuxMessagePorts ports_;
  DistributedNotificationCenter& notifications_;
  DesktopNotifier notifier_;
  LinuxUserDefaultsCenter defaultsCenter_;
  // The settings that are shared with the extension; null where there is no folder for them.
  std::shared_ptr<UserDefaults> defaults_;
  std::shared_ptr<WithheldNotices> withheld_;
  RefusedRepositories refused_;
  const Configuration configuration_;
  DirectoryWatcher watcher_;
  DirectoryWatcher names_;
  ThreadPool pool_;
  LinuxSerialQueues queues_;
  ExtensionPorts extensions_;
  RepositoryRegistry registry_;
  SettingsWatch settings_;
  BusInterface interface_;
  ActionProgress progress_;
  ActionRunner runner_;
  MenuActions actions_;
  ExtensionErrors errors_;
  ProtocolPeer peer_;
  std::unique_ptr<MainLoop::Source> watching_;
  std::unique_ptr<MainLoop::Source> watchingNames_;
  std::unique_ptr<EventLoop::Timer> watchingAgain_;
  bool saidUnwatched_ = false;
  std::unique_ptr<EventLoop::Timer> publishingAgain_;
  std::unique_ptr<NotificationObservation> appMessages_;
  std::unique_ptr<DefaultsObservation> trusting_;
};

}  // namespace kelpie::agent
