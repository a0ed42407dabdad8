#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/FinderSyncController.h"
#include "support/EventLog.h"

namespace kelpie {

// A file manager that remembers what it was told. Writes "finder.image IDENTIFIER IMAGE LABEL",
// "finder.badge IDENTIFIER PATH" and "finder.directories PATH PATH …". Any thread.
class FakeFinder final : public FinderSyncController {
 public:
  struct BadgeImage {
    std::string identifier;
    Image image;
    std::string label;
  };
  struct Badge {
    std::string identifier;
    std::string path;
    friend bool operator==(const Badge&, const Badge&) = default;
  };

  explicit FakeFinder(EventLog& events) : events_(events) {}

  std::vector<BadgeImage> badgeImages() const;  // in the order of registration
  std::vector<Badge> badges() const;            // in the order of setting
  // The badge that was set last for the path; absent when none was.
  std::optional<std::string> badgeFor(std::string_view path) const;
  void forgetBadges();
  // How often setDirectoryURLs() was called.
  std::size_t directorySettings() const;
  // What the user has selected, and what the menu is opened on.
  void select(std::vector<URL> items, std::optional<URL> target);

  void setBadgeImage(const Image& image, std::string_view label,
                     std::string_view badgeIdentifier) override;
  void setBadgeIdentifier(std::string_view badgeIdentifier, const URL& url) override;
  std::vector<URL> directoryURLs() const override;
  void setDirectoryURLs(std::vector<URL> urls) override;
  std::vector<URL> selectedItemURLs() const override;
  std::optional<URL> targetedURL() const override;

 private:
  EventLog& events_;
  mutable Mutex mutex_;
  std::vector<BadgeImage> badgeImages_ KELPIE_GUARDED_BY(mutex_);
  std::vector<Badge> badges_ KELPIE_GUARDED_BY(mutex_);
  std::vector<URL> directories_ KELPIE_GUARDED_BY(mutex_);
  std::size_t directorySettings_ KELPIE_GUARDED_BY(mutex_) = 0;
  std::vector<URL> selected_ KELPIE_GUARDED_BY(mutex_);
  std::optional<URL> targeted_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
