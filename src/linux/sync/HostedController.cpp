#include "linux/sync/HostedController.h"

namespace kelpie {

std::string HostedController::toolbarItemName() const {
  return std::string(controller_.toolbarItemName());
}

std::string HostedController::toolbarItemToolTip() const {
  return std::string(controller_.toolbarItemToolTip());
}

Image HostedController::toolbarItemImage() const { return controller_.toolbarItemImage(); }

void HostedController::beginObservingDirectoryAtURL(const URL& url) {
  controller_.beginObservingDirectoryAtURL(url);
}

void HostedController::endObservingDirectoryAtURL(const URL& url) {
  controller_.endObservingDirectoryAtURL(url);
}

void HostedController::requestBadgeIdentifierForURL(const URL& url) {
  controller_.requestBadgeIdentifierForURL(url);
}

std::optional<Menu> HostedController::menuForMenuKind(std::uint64_t kind) {
  return controller_.menuForMenuKind(static_cast<FIMenuKind>(kind));
}

bool HostedController::performAction(const MenuItem& item) {
  return controller_.performAction(item);
}

}  // namespace kelpie
