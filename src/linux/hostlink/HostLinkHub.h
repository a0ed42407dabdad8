#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Menu.h"
#include "foundation/ThreadBound.h"
#include "foundation/URL.h"
#include "linux/hostlink/FoldersInView.h"
#include "linux/hostlink/HostValues.h"
#include "platform/FinderSync.h"
#include "platform/linux/LinuxFinderSyncController.h"

namespace kelpie {

class HostSession;

// What the hosts of one extension share: the extension, which menu is the newest, and who is told
// of badges and folders. Main thread.
class HostLinkHub {
 public:
  // Borrowed objects outlive the hub. Listens to `finder` for as long as it lives.
  HostLinkHub(FinderSync& extension, LinuxFinderSyncController& finder,
              hostlink::ImageFile imageFile, SerialQueues& queues);
  ~HostLinkHub();
  HostLinkHub(const HostLinkHub&) = delete;
  HostLinkHub& operator=(const HostLinkHub&) = delete;

  // A session joins when its host has said hello, and leaves when it ends.
  void join(HostSession& session);
  void leave(HostSession& session);

  FinderSync& extension() { return extension_; }
  hostlink::Welcome welcome() const;

  // A host begins to show the folder, or stops. A folder counts as in view while at least one host
  // shows it: only the first beginning and the last end reach the extension, and one more beginning
  // when another folder has come to be at that path. `session` is that host's.
  void beginObserving(const HostSession& session, const URL& url);
  void endObserving(const HostSession& session, const URL& url);

  // Asks the extension for a menu, which becomes the newest when there is one. Raises
  // std::invalid_argument as the extension does.
  std::optional<Menu> menu(const HostSession& session, const hostlink::Number& id,
                           std::int64_t kind, std::vector<URL> selected,
                           std::optional<URL> targeted);
  // Runs the action of an item of the session's menu `id`. `choice` is the host's name for this
  // choice; empty when the host does not ask. Absent when that is done, otherwise the reason why
  // not. Raises std::invalid_argument as the extension does.
  std::optional<std::string> choose(const HostSession& session, const hostlink::Number& id,
                                    const std::vector<std::size_t>& path,
                                    const std::string& choice);

 private:
  struct NewestMenu {
    const HostSession* session;
    hostlink::Number id;
    Menu menu;
  };

  // `except` may be null.
  bool isShown(const std::string& folder, const HostSession* except) const;
  void tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges);
  void tellDirectories();

  FinderSync& extension_;
  LinuxFinderSyncController& finder_;
  hostlink::ImageFile imageFile_;
  FoldersInView folders_;
  std::vector<HostSession*> sessions_;
  std::optional<NewestMenu> newest_;
  ThreadBound thread_;
};

}  // namespace kelpie
