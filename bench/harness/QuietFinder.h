#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/URL.h"
#include "platform/FinderSyncController.h"

namespace kelpie {

// A file manager that costs next to nothing: the number of badges, and the last for each path once
// it is told to watch.
class QuietFinder final : public FinderSyncController {
 public:
  void setBadgeImage(const Image&, std::string_view, std::string_view) override {}
  void setBadgeIdentifier(std::string_view badge, const URL& url) override {
    ++count;
    if (watches) badges[url.path()] = badge;
  }
  std::vector<URL> directoryURLs() const override { return {}; }
  void setDirectoryURLs(std::vector<URL>) override {}
  std::vector<URL> selectedItemURLs() const override { return {}; }
  std::optional<URL> targetedURL() const override { return std::nullopt; }

  std::size_t count = 0;
  bool watches = false;
  std::unordered_map<std::string, std::string> badges;
};

}  // namespace kelpie
