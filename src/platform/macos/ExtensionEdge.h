#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "extension/KPKelpieSync.h"
#include "foundation/Image.h"
#include "foundation/Menu.h"
#include "foundation/URL.h"
#include "platform/Platform.h"

namespace kelpie {

// The controller as the Objective-C principal class calls it: nothing that the core raises comes
// out of here; it is logged, and the call has had no effect. Main thread but where noted.
class ExtensionEdge {
 public:
  // KPKelpieSync::initialize().
  static void initialize(const Platform& platform) noexcept;
  // Null where there is no controller to be had. Both are borrowed for the life of the process.
  static std::unique_ptr<ExtensionEdge> create(const Platform& platform,
                                               KPUserDefaults& defaults) noexcept;
  // Calls `visit` for the selector of each action that a menu item can bear.
  static void forEachAction(FunctionRef<void(std::string_view selector)> visit);

  explicit ExtensionEdge(std::unique_ptr<KPKelpieSync> controller)
      : controller_(std::move(controller)) {}

  const KPKelpieSync& controller() const { return *controller_; }

  // The Finder's callbacks. A missing URL is ignored. Any thread.
  void beginObservingDirectoryAtURL(const std::optional<URL>& url) noexcept;
  void endObservingDirectoryAtURL(const std::optional<URL>& url) noexcept;
  void requestBadgeIdentifierForURL(const std::optional<URL>& url) noexcept;

  // The menu, borrowed until the next one is built; null where there is to be none.
  const Menu* menuForMenuKind(std::uint64_t kind) noexcept;
  // Performs the item of the menu that was built last that has this action and tag, wherever it
  // stands there. The Finder hands over copies of the items, of which nothing else can be relied
  // on. Nothing happens when there is no such item.
  void performAction(std::string_view action, std::int64_t tag) noexcept;

 private:
  std::unique_ptr<KPKelpieSync> controller_;
  std::optional<Menu> menu_;  // built last
};

}  // namespace kelpie
