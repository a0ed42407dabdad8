#include "platform/linux/LinuxFinderSyncController.h"

#include <optional>
#include <set>
#include <string_view>

namespace kelpie {
namespace {

// The folders are a set: neither their order nor one named twice makes a difference.
std::set<std::string> textsOf(const std::vector<URL>& urls) {
  std::set<std::string> texts;
  for (const URL& url : urls) texts.insert(url.absoluteString());
  return texts;
}

}  // namespace

LinuxFinderSyncController::LinuxFinderSyncController(std::shared_ptr<SerialQueue> mainQueue)
    : mainQueue_(std::move(mainQueue)) {}

void LinuxFinderSyncController::setListener(Listener listener) {
  thread_.check();
  shared_->listener = std::move(listener);
}

std::map<std::string, LinuxFinderSyncController::RegisteredBadge>
LinuxFinderSyncController::badges() const {
  const MutexLock lock(mutex_);
  return badges_;
}

void LinuxFinderSyncController::setSelection(std::vector<URL> selected,
                                             std::optional<URL> targeted) {
  thread_.check();
  selected_ = std::move(selected);
  targeted_ = std::move(targeted);
}

void LinuxFinderSyncController::setBadgeImage(const Image& image, std::string_view label,
                                              std::string_view badgeIdentifier) {
  const MutexLock lock(mutex_);
  badges_.insert_or_assign(std::string(badgeIdentifier),
                           RegisteredBadge{image, std::string(label)});
}

void LinuxFinderSyncController::setBadgeIdentifier(std::string_view badgeIdentifier,
                                                   const URL& url) {
  {
    const MutexLock lock(shared_->mutex);
    shared_->pending.emplace_back(url, badgeIdentifier);
    if (std::exchange(shared_->handOverIsPosted, true)) return;
  }
  mainQueue_->post([shared = shared_] { handOver(*shared); });
}

void LinuxFinderSyncController::handOver(Shared& shared) {
  std::vector<Badge> badges;
  {
    const MutexLock lock(shared.mutex);
    badges.swap(shared.pending);
    shared.handOverIsPosted = false;
  }
  if (shared.listener.badgesSet) shared.listener.badgesSet(badges);
}

std::vector<URL> LinuxFinderSyncController::directoryURLs() const {
  const MutexLock lock(mutex_);
  return directoryURLs_;
}

void LinuxFinderSyncController::setDirectoryURLs(std::vector<URL> urls) {
  {
    const MutexLock lock(mutex_);
    const bool changed = textsOf(urls) != textsOf(directoryURLs_);
    directoryURLs_ = std::move(urls);
    if (!changed) return;
  }
  mainQueue_->post([shared = shared_] {
    if (shared->listener.directoriesChanged) shared->listener.directoriesChanged();
  });
}

}  // namespace kelpie
