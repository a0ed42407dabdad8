#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/Menu.h"
#include "foundation/URL.h"
#include "linux/hostlink/HostLinkMessages.h"
#include "linux/hostlink/HostedExtension.h"
#include "platform/linux/LinuxFinderSyncController.h"

namespace kelpie {

class HostSession;

// What the hosts of one extension share: which folders are in view, which menu is the newest, and
// who is told of badges and folders. Main queue.
class HostLinkHub {
 public:
  // What is borrowed must outlive the hub. Listens to `finder` for as long as it lives.
  HostLinkHub(HostedExtension& extension, LinuxFinderSyncController& finder,
              hostlink::ImageFile imageFile);
  ~HostLinkHub();
  HostLinkHub(const HostLinkHub&) = delete;
  HostLinkHub& operator=(const HostLinkHub&) = delete;

  // A session joins when its host has said hello, and leaves when it ends.
  void join(HostSession& session);
  void leave(HostSession& session);

  nlohmann::json welcome() const;

  // One host more, or one less, shows the folder. The first and the last reach the extension.
  void beginObserving(const URL& url);
  void endObserving(const URL& url);
  void requestBadge(const URL& url) { extension_.requestBadgeIdentifierForURL(url); }

  // Asks the extension for a menu, which becomes the newest when there is one. Raises
  // std::invalid_argument as the extension does.
  std::optional<Menu> menu(const HostSession& session, const nlohmann::json& id, std::int64_t kind,
                           std::vector<URL> selected, std::optional<URL> targeted);
  // Runs the action of an item of the session's menu `id`. Missing when that is done, else why it
  // was not. Raises std::invalid_argument as the extension does.
  std::optional<std::string> choose(const HostSession& session, const nlohmann::json& id,
                                    const std::vector<std::size_t>& path);

 private:
  struct NewestMenu {
    const HostSession* session;
    nlohmann::json id;
    Menu menu;
  };

  void tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges);
  void tellDirectories();

  HostedExtension& extension_;
  LinuxFinderSyncController& finder_;
  hostlink::ImageFile imageFile_;
  std::vector<HostSession*> sessions_;
  std::unordered_map<std::string, std::size_t> inView_;  // path of a folder -> how many hosts
  std::optional<NewestMenu> newest_;
};

}  // namespace kelpie
