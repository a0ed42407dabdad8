#include "platform/macos/ExtensionEdge.h"

#include <utility>

#include "extension/ControllerRoutes.h"
#include "platform/macos/Guard.h"

namespace kelpie {
namespace {

// Only an item without a submenu can be chosen; one with a submenu may bear the action and the tag
// of an item below it. Built menus nest three deep; nothing here builds them any other way.
const MenuItem* findItem(const Menu& menu, std::string_view action, std::int64_t tag) {
  for (const MenuItem& item : menu.items) {
    if (item.submenu != nullptr) {
      if (const MenuItem* found = findItem(*item.submenu, action, tag)) return found;
    } else if (item.action == action && item.tag == tag) {
      return &item;
    }
  }
  return nullptr;
}

}  // namespace

void ExtensionEdge::initialize(const Platform& platform) noexcept {
  runGuarded([&] { KPKelpieSync::initialize(platform); });
}

std::unique_ptr<ExtensionEdge> ExtensionEdge::create(const Platform& platform,
                                                     KPUserDefaults& defaults) noexcept {
  std::unique_ptr<ExtensionEdge> edge;
  runGuarded([&] {
    std::unique_ptr<KPKelpieSync> controller = KPKelpieSync::create(platform, defaults);
    if (controller != nullptr) edge = std::make_unique<ExtensionEdge>(std::move(controller));
  });
  return edge;
}

void ExtensionEdge::forEachAction(FunctionRef<void(std::string_view selector)> visit) {
  for (const Route<KPKelpieSync>& route : actionRoutes()) visit(route.selector);
}

void ExtensionEdge::beginObservingDirectoryAtURL(const std::optional<URL>& url) noexcept {
  runGuarded([&] {
    if (url) controller_->beginObservingDirectoryAtURL(*url);
  });
}

void ExtensionEdge::endObservingDirectoryAtURL(const std::optional<URL>& url) noexcept {
  runGuarded([&] {
    if (url) controller_->endObservingDirectoryAtURL(*url);
  });
}

void ExtensionEdge::requestBadgeIdentifierForURL(const std::optional<URL>& url) noexcept {
  runGuarded([&] {
    if (url) controller_->requestBadgeIdentifierForURL(*url);
  });
}

const Menu* ExtensionEdge::menuForMenuKind(std::uint64_t kind) noexcept {
  const Menu* built = nullptr;
  runGuarded([&] {
    std::optional<Menu> menu = controller_->menuForMenuKind(static_cast<FIMenuKind>(kind));
    if (!menu) return;
    menu_ = std::move(menu);
    built = &*menu_;
  });
  return built;
}

void ExtensionEdge::performAction(std::string_view action, std::int64_t tag) noexcept {
  runGuarded([&] {
    const MenuItem* const item = menu_ ? findItem(*menu_, action, tag) : nullptr;
    if (item != nullptr) controller_->performAction(MenuItem(*item));
  });
}

}  // namespace kelpie
