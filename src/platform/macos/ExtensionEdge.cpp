#include "platform/macos/ExtensionEdge.h"

#include <utility>

#include "extension/ControllerRoutes.h"
#include "platform/macos/Guard.h"
#include "platform/macos/SystemLog.h"

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

void ExtensionEdge::forEachAction(FunctionRef<void(std::string_view selector)> visit) {
  for (const SharedRoute<KPKelpieSync>& action : controllerRoutes().actions)
    for (const std::string_view selector : action.selectors) visit(selector);
}

ExtensionEdge::~ExtensionEdge() {
  runGuarded([this] {
    if (const std::shared_ptr<SharedExtension> open = shared()) open->forget(this);
  });
}

bool ExtensionEdge::open(const Platform& platform, KPUserDefaults& defaults) noexcept {
  return answerGuarded([&] {
    std::shared_ptr<SharedExtension> made = SharedExtension::acquire(platform, defaults);
    if (made == nullptr) return false;
    const MutexLock lock(mutex_);
    shared_ = std::move(made);
    for (const auto& [call, url] : std::exchange(early_, {})) ((*shared_).*call)(this, url);
    return true;
  });
}

void ExtensionEdge::beginObservingDirectoryAtURL(const std::optional<URL>& url) noexcept {
  hand(&SharedExtension::beginObserving, url);
}

void ExtensionEdge::endObservingDirectoryAtURL(const std::optional<URL>& url) noexcept {
  hand(&SharedExtension::endObserving, url);
}

void ExtensionEdge::requestBadgeIdentifierForURL(const std::optional<URL>& url) noexcept {
  hand(&SharedExtension::requestBadge, url);
}

// With the lock held, so that nothing overtakes what came early: the calls only queue work.
void ExtensionEdge::hand(Call call, const std::optional<URL>& url) noexcept {
  runGuarded([&] {
    if (!url) return;
    const MutexLock lock(mutex_);
    if (shared_ != nullptr)
      ((*shared_).*call)(this, *url);
    else if (early_.size() < kMostEarlyCalls)
      early_.emplace_back(call, *url);
    else
      writeSystemLog("too many calls before the extension has started: " + url->path());
  });
}

std::shared_ptr<SharedExtension> ExtensionEdge::shared() {
  const MutexLock lock(mutex_);
  return shared_;
}

const Menu* ExtensionEdge::menuForMenuKind(std::uint64_t kind) noexcept {
  const Menu* built = nullptr;
  runGuarded([&] {
    const std::shared_ptr<SharedExtension> open = shared();
    if (open == nullptr) return;
    std::optional<Menu> menu = open->controller().menuForMenuKind(static_cast<FIMenuKind>(kind));
    if (!menu) return;
    menu_ = std::move(menu);
    built = &*menu_;
  });
  return built;
}

void ExtensionEdge::performAction(std::string_view action, std::int64_t tag) noexcept {
  runGuarded([&] {
    const std::shared_ptr<SharedExtension> open = shared();
    const MenuItem* const item = menu_ ? findItem(*menu_, action, tag) : nullptr;
    if (open != nullptr && item != nullptr) open->controller().performAction(MenuItem(*item));
  });
}

}  // namespace kelpie
