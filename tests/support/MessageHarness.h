#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "foundation/Bytes.h"
#include "settings/KPUserDefaults.h"
#include "support/FakePlatform.h"

namespace kelpie {

// A live controller with one open repository and items on screen, to which messages of any bytes
// are handed. Its file manager remembers nothing, so that what a message costs is what the core
// makes of it. One thread.
class MessageHarness {
 public:
  MessageHarness();
  ~MessageHarness();
  MessageHarness(const MessageHarness&) = delete;
  MessageHarness& operator=(const MessageHarness&) = delete;

  // The "KPMessageTarget" of the repository, and the identifiers of the folders that are shown.
  Bytes target() const;
  std::vector<Bytes> shownFolders() const;

  // Does the main thread's part of handling the message.
  void handle(const Bytes& message);
  // Does the part that was left to the queues.
  void runQueues();
  // The menus of the repository's folder, as they are now. The number of their items, submenus
  // included.
  std::size_t menuItems();

  // How often a badge was set since the beginning.
  std::size_t badges() const { return finder_.badges; }
  FakePlatform& fakes() { return fakes_; }
  KPRepository& repository() const;
  KPKelpieSync& controller() { return *controller_; }

  static constexpr std::string_view kRoot = "/home/repo";
  static constexpr std::size_t kShownFolders = 16;

 private:
  struct CountingFinder final : public FinderSyncController {
    void setBadgeImage(const Image& /*image*/, std::string_view /*label*/,
                       std::string_view /*badgeIdentifier*/) override {}
    void setBadgeIdentifier(std::string_view /*badgeIdentifier*/, const URL& /*url*/) override {
      ++badges;
    }
    std::vector<URL> directoryURLs() const override { return {}; }
    void setDirectoryURLs(std::vector<URL> /*urls*/) override {}
    std::vector<URL> selectedItemURLs() const override { return {}; }
    std::optional<URL> targetedURL() const override { return URL::fileURLWithPath(kRoot, true); }

    std::size_t badges = 0;
  };

  // As the main application sends it.
  void send(std::string_view selector, const Object& argument);

  FakePlatform fakes_;
  CountingFinder finder_;
  Platform platform_;
  std::unique_ptr<KPUserDefaults> defaults_;
  std::unique_ptr<KPKelpieSync> controller_;
};

}  // namespace kelpie
