#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "foundation/Image.h"
#include "foundation/URL.h"

namespace kelpie {

// The file manager's side of the extension.
class FinderSyncController {
 public:
  virtual ~FinderSyncController() = default;

  // Any thread. Makes the image known under the badge identifier.
  virtual void setBadgeImage(const Image& image, std::string_view label,
                             std::string_view badgeIdentifier) = 0;
  // Any thread, without a lock of the caller's held. An identifier that no image was registered
  // for, and the empty one, show no badge.
  virtual void setBadgeIdentifier(std::string_view badgeIdentifier, const URL& url) = 0;

  // The folders that the file manager reports to the extension. Any thread.
  virtual std::vector<URL> directoryURLs() const = 0;
  virtual void setDirectoryURLs(std::vector<URL> urls) = 0;

  // While a menu is asked for, on its thread: what is selected, and the folder or item that the
  // menu was opened on.
  virtual std::vector<URL> selectedItemURLs() const = 0;
  virtual std::optional<URL> targetedURL() const = 0;
};

}  // namespace kelpie
