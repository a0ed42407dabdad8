#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "foundation/ThreadBound.h"
#include "foundation/URL.h"
#include "platform/Platform.h"

namespace kelpie {

class FolderRegistry;
class KPUserDefaults;
class MessageLink;

// Finds the main application, tells it where the extension listens, watches its process, and
// clears what came from it when it is gone. Only one running copy, of the same version as the
// extension, counts as there. Main thread.
class PresenceMonitor {
 public:
  using EndHandler = std::function<void(std::int32_t pid)>;

  // `defaults` is borrowed for the life of this object. `onEnd` is called after the clearing when a
  // watched process has ended, and not after this object's life.
  PresenceMonitor(const Platform& platform, KPUserDefaults& defaults,
                  std::shared_ptr<MessageLink> link, std::shared_ptr<FolderRegistry> registry,
                  EndHandler onEnd);

  // See KPKelpieSync. What raises leaves everything as it was.
  void updateApplicationRunning();
  void setApplicationPid(std::int32_t pid);

  // The watch on the process that came last; null while nobody is watched. Replacing it does not
  // end the former watch.
  std::shared_ptr<ProcessMonitor> monitor() const { return state_->monitor; }
  void setMonitor(std::shared_ptr<ProcessMonitor> monitor) { state_->monitor = std::move(monitor); }

 private:
  // What the handlers of a watch need. They hold it weakly: a watch may outlive the controller, and
  // has nothing to do then.
  struct State {
    Platform platform;
    std::shared_ptr<MessageLink> link;
    std::shared_ptr<FolderRegistry> registry;
    EndHandler onEnd;
    std::shared_ptr<ProcessMonitor> monitor;

    void clear();
  };

  bool isOwnVersion() const;
  void requestRepositoriesAgain();
  void watch(std::int32_t pid);

  KPUserDefaults& defaults_;
  std::shared_ptr<State> state_;
  ThreadBound thread_;
};

}  // namespace kelpie
