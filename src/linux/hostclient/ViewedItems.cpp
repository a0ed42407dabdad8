#include "linux/hostclient/ViewedItems.h"

#include <utility>

namespace kelpie {

std::string_view ViewedItems::folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos || path.size() == 1) return {};
  return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

bool ViewedItems::show(const std::string& folder) {
  if (++shown_[folder] > 1) return false;
  // What was wanted before now stays for as long as the folder does.
  if (const auto paths = pathsOfFolder_.find(folder); paths != pathsOfFolder_.end()) {
    for (const std::string& path : paths->second)
      if (std::exchange(items_.at(path).order, 0) != 0) --unshownCount_;
  }
  return true;
}

bool ViewedItems::hide(const std::string& folder) {
  const auto found = shown_.find(folder);
  if (found == shown_.end() || --found->second > 0) return false;
  shown_.erase(found);
  if (const auto paths = pathsOfFolder_.find(folder); paths != pathsOfFolder_.end()) {
    for (const std::string& path : paths->second) items_.erase(path);
    pathsOfFolder_.erase(paths);
  }
  return true;
}

std::vector<std::string> ViewedItems::folders() const {
  std::vector<std::string> folders;
  folders.reserve(shown_.size());
  for (const auto& [folder, count] : shown_) folders.push_back(folder);
  return folders;
}

ViewedItems::Item& ViewedItems::want(const std::string& path, bool isFolder) {
  const auto [entry, isNew] = items_.try_emplace(path);
  Item& item = entry->second;
  item.isFolder = isFolder;
  if (!isNew) return item;
  const std::string folder(folderOf(path));
  pathsOfFolder_[folder].push_back(path);
  if (shown_.contains(folder)) return item;
  item.order = nextNumber_++;
  ++unshownCount_;
  unshown_.push_back({item.order, path});
  // Never the item itself: it is the newest.
  while (unshownCount_ > maximumUnshown_ && unshown_.size() > 1) forgetOldest();
  return item;
}

void ViewedItems::forgetOldest() {
  const Order oldest = std::move(unshown_.front());
  unshown_.pop_front();
  const auto item = items_.find(oldest.path);
  if (item == items_.end() || item->second.order != oldest.number) return;
  --unshownCount_;
  items_.erase(item);
  const auto paths = pathsOfFolder_.find(std::string(folderOf(oldest.path)));
  std::erase(paths->second, oldest.path);
  if (paths->second.empty()) pathsOfFolder_.erase(paths);
}

ViewedItems::Item* ViewedItems::find(std::string_view path) {
  const auto found = items_.find(std::string(path));
  return found == items_.end() ? nullptr : &found->second;
}

const ViewedItems::Item* ViewedItems::find(std::string_view path) const {
  const auto found = items_.find(std::string(path));
  return found == items_.end() ? nullptr : &found->second;
}

std::vector<std::string> ViewedItems::paths() const {
  std::vector<std::string> paths;
  paths.reserve(items_.size());
  for (const auto& [path, item] : items_) paths.push_back(path);
  return paths;
}

std::vector<std::string> ViewedItems::forgetBadges() {
  std::vector<std::string> changed;
  for (auto& [path, item] : items_) {
    item.isAsked = false;
    if (std::exchange(item.badge, std::nullopt)) changed.push_back(path);
  }
  return changed;
}

}  // namespace kelpie
