#include "platform/macos/SharedExtension.h"

#include <algorithm>
#include <utility>

namespace kelpie {

std::shared_ptr<SharedExtension> SharedExtension::acquire(const Platform& platform,
                                                          KPUserDefaults& defaults) {
  static std::weak_ptr<SharedExtension> current;
  if (std::shared_ptr<SharedExtension> shared = current.lock()) return shared;
  std::unique_ptr<KPKelpieSync> controller = KPKelpieSync::create(platform, defaults);
  if (controller == nullptr) return nullptr;
  auto made = std::make_shared<SharedExtension>(std::move(controller));
  current = made;
  return made;
}

// The controller is told each time: the instance may have come to an empty view.
void SharedExtension::beginObserving(const void* instance, const URL& url) {
  const MutexLock lock(mutex_);
  Instances& instances = shown_[url.path()];
  if (std::ranges::find(instances, instance) == instances.end()) instances.push_back(instance);
  controller_->beginObservingDirectoryAtURL(url);
}

void SharedExtension::endObserving(const void* instance, const URL& url) {
  const MutexLock lock(mutex_);
  const auto folder = shown_.find(url.path());
  if (folder != shown_.end()) {
    std::erase(folder->second, instance);
    if (!folder->second.empty()) return;
    shown_.erase(folder);
  }
  controller_->endObservingDirectoryAtURL(url);
}

void SharedExtension::requestBadge(const void* /*instance*/, const URL& url) {
  controller_->requestBadgeIdentifierForURL(url);
}

void SharedExtension::forget(const void* instance) {
  const MutexLock lock(mutex_);
  for (auto folder = shown_.begin(); folder != shown_.end();) {
    if (std::erase(folder->second, instance) == 0 || !folder->second.empty()) {
      ++folder;
      continue;
    }
    controller_->endObservingDirectoryAtURL(URL::fileURLWithPath(folder->first));
    folder = shown_.erase(folder);
  }
}

}  // namespace kelpie
