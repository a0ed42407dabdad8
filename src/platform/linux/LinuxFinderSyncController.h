#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "foundation/ThreadBound.h"
#include "platform/FinderSyncController.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// The file managers, as the core sees them: one controller for all that are connected to the host
// link. Badges may be set from any thread; they are gathered and handed on in batches on the main
// queue, in the order in which they were set.
class LinuxFinderSyncController final : public FinderSyncController {
 public:
  struct RegisteredBadge {
    Image image;
    std::string label;
  };
  // A badge that was set: the item and the identifier.
  using Badge = std::pair<URL, std::string>;

  // What becomes of badges and folders. Called on the main thread.
  struct Listener {
    std::function<void(const std::vector<Badge>& badges)> badgesSet;
    // The observed folders are others than before.
    std::function<void()> directoriesChanged;
  };

  explicit LinuxFinderSyncController(std::shared_ptr<SerialQueue> mainQueue);

  // Replaces the listener; an empty one lets everything go. Main thread.
  void setListener(Listener listener);
  // The registered badges by identifier, as of now. Any thread.
  std::map<std::string, RegisteredBadge> badges() const;
  // What the next menu is asked for. Main thread.
  void setSelection(std::vector<URL> selected, std::optional<URL> targeted);

  void setBadgeImage(const Image& image, std::string_view label,
                     std::string_view badgeIdentifier) override;
  void setBadgeIdentifier(std::string_view badgeIdentifier, const URL& url) override;
  std::vector<URL> directoryURLs() const override;
  void setDirectoryURLs(std::vector<URL> urls) override;
  std::vector<URL> selectedItemURLs() const override { return selected_; }
  std::optional<URL> targetedURL() const override { return targeted_; }

 private:
  // What the tasks on the main thread reach; they may outlive the controller.
  struct Shared {
    Mutex mutex;
    std::vector<Badge> pending KELPIE_GUARDED_BY(mutex);  // set, and not handed on yet
    bool handOverIsPosted KELPIE_GUARDED_BY(mutex) = false;
    Listener listener;  // main thread
  };
  static void handOver(Shared& shared);

  std::shared_ptr<SerialQueue> mainQueue_;
  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  mutable Mutex mutex_;
  std::map<std::string, RegisteredBadge> badges_ KELPIE_GUARDED_BY(mutex_);
  std::vector<URL> directoryURLs_ KELPIE_GUARDED_BY(mutex_);
  std::vector<URL> selected_;    // main thread
  std::optional<URL> targeted_;  // main thread
  ThreadBound thread_;
};

}  // namespace kelpie
