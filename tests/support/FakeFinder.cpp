#include "support/FakeFinder.h"

#include <algorithm>
#include <utility>

namespace kelpie {

std::vector<FakeFinder::BadgeImage> FakeFinder::badgeImages() const {
  const MutexLock lock(mutex_);
  return badgeImages_;
}

std::vector<FakeFinder::Badge> FakeFinder::badges() const {
  const MutexLock lock(mutex_);
  return badges_;
}

std::optional<std::string> FakeFinder::badgeFor(std::string_view path) const {
  const MutexLock lock(mutex_);
  const auto found = std::find_if(badges_.rbegin(), badges_.rend(),
                                  [path](const Badge& badge) { return badge.path == path; });
  return found == badges_.rend() ? std::nullopt : std::optional(found->identifier);
}

void FakeFinder::forgetBadges() {
  const MutexLock lock(mutex_);
  badges_.clear();
}

std::size_t FakeFinder::directorySettings() const {
  const MutexLock lock(mutex_);
  return directorySettings_;
}

void FakeFinder::select(std::vector<URL> items, std::optional<URL> target) {
  const MutexLock lock(mutex_);
  selected_ = std::move(items);
  targeted_ = std::move(target);
}

void FakeFinder::setBadgeImage(const Image& image, std::string_view label,
                               std::string_view badgeIdentifier) {
  std::string line = "finder.image ";
  events_.add(
      line.append(badgeIdentifier).append(" ").append(image.name).append(" ").append(label));
  const MutexLock lock(mutex_);
  badgeImages_.push_back({std::string(badgeIdentifier), image, std::string(label)});
}

void FakeFinder::setBadgeIdentifier(std::string_view badgeIdentifier, const URL& url) {
  std::string line = "finder.badge ";
  events_.add(line.append(badgeIdentifier).append(" ").append(url.path()));
  const MutexLock lock(mutex_);
  badges_.push_back({std::string(badgeIdentifier), url.path()});
}

std::vector<URL> FakeFinder::directoryURLs() const {
  const MutexLock lock(mutex_);
  return directories_;
}

void FakeFinder::setDirectoryURLs(std::vector<URL> urls) {
  std::string line = "finder.directories";
  for (const URL& url : urls) line.append(" ").append(url.path());
  events_.add(std::move(line));
  const MutexLock lock(mutex_);
  directories_ = std::move(urls);
  ++directorySettings_;
}

std::vector<URL> FakeFinder::selectedItemURLs() const {
  const MutexLock lock(mutex_);
  return selected_;
}

std::optional<URL> FakeFinder::targetedURL() const {
  const MutexLock lock(mutex_);
  return targeted_;
}

}  // namespace kelpie
