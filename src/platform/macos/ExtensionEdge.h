#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FunctionRef.h"
#include "foundation/Menu.h"
#include "foundation/Mutex.h"
#include "foundation/URL.h"
#include "platform/Platform.h"
#include "platform/macos/SharedExtension.h"

namespace kelpie {

// The controller as one instance of the Objective-C principal class calls it: nothing that the core
// raises comes out of here; it is logged, and the call has had no effect. Main thread but where
// noted; let go on the main thread.
//
// It exists before the controller does: calls that the Finder makes while the instance is being
// made are kept and handed on once there is a controller.
class ExtensionEdge {
 public:
  // How many early calls are kept; the rest is dropped, which is logged.
  static constexpr std::size_t kMostEarlyCalls = 10'000;

  // KPKelpieSync::initialize().
  static void initialize(const Platform& platform) noexcept;
  // Calls `visit` for the selector of each action that a menu item can bear.
  static void forEachAction(FunctionRef<void(std::string_view selector)> visit);

  ExtensionEdge() = default;
  ~ExtensionEdge();
  ExtensionEdge(const ExtensionEdge&) = delete;
  ExtensionEdge& operator=(const ExtensionEdge&) = delete;

  // Connects it with the process's controller. False where there is none to be had. Both are
  // borrowed for the life of the process.
  bool open(const Platform& platform, KPUserDefaults& defaults) noexcept;

  // The Finder's callbacks. An absent URL is ignored. Any thread.
  void beginObservingDirectoryAtURL(const std::optional<URL>& url) noexcept;
  void endObservingDirectoryAtURL(const std::optional<URL>& url) noexcept;
  void requestBadgeIdentifierForURL(const std::optional<URL>& url) noexcept;

  // The menu, borrowed until the next one is built; null where none is to be shown.
  const Menu* menuForMenuKind(std::uint64_t kind) noexcept;
  // Performs the item of the menu that was built last that has this action and tag and no submenu,
  // wherever it stands there. The Finder hands over copies of the items, of which nothing else can
  // be relied on. Nothing happens when there is no such item.
  void performAction(std::string_view action, std::int64_t tag) noexcept;

 private:
  using Call = void (SharedExtension::*)(const void* instance, const URL& url);

  void hand(Call call, const std::optional<URL>& url) noexcept;
  std::shared_ptr<SharedExtension> shared();

  Mutex mutex_;
  std::shared_ptr<SharedExtension> shared_ KELPIE_GUARDED_BY(mutex_);  // null until it is open
  std::vector<std::pair<Call, URL>> early_ KELPIE_GUARDED_BY(mutex_);  // empty once it is open
  std::optional<Menu> menu_;                                           // built last
};

}  // namespace kelpie
