#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/FinderSyncController.h"

namespace kelpie {

// The Finder, by its one controller. A badge whose image is missing is registered without one. An
// item without an identifier or URL of the platform is left out.
class MacFinderSyncController final : public FinderSyncController {
 public:
  void setBadgeImage(const Image& image, std::string_view label,
                     std::string_view badgeIdentifier) override;
  // By the path that the Finder shows, which is the present path of a file reference.
  void setBadgeIdentifier(std::string_view badgeIdentifier, const URL& url) override;
  std::vector<URL> directoryURLs() const override;
  // The Finder is handed references, so that it follows a folder that is moved.
  void setDirectoryURLs(std::vector<URL> urls) override;
  std::vector<URL> selectedItemURLs() const override;
  std::optional<URL> targetedURL() const override;
};

}  // namespace kelpie
