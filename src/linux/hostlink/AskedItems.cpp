#include "linux/hostlink/AskedItems.h"

#include <utility>

namespace kelpie {

std::string AskedItems::folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || path.size() == 1) return {};
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool AskedItems::show(const URL& folder) {
  const std::string& path = folder.path();
  if (++shown_.try_emplace(path, Shown{folder}).first->second.count > 1) return false;
  // What was asked for before now stays for as long as the folder does.
  if (const auto found = items_.find(path); found != items_.end()) {
    for (auto& [itemPath, item] : found->second)
      if (std::exchange(item.order, 0) != 0) --unshown_;
  }
  return true;
}

bool AskedItems::hide(const std::string& folder) {
  const auto found = shown_.find(folder);
  if (found == shown_.end() || --found->second.count > 0) return false;
  shown_.erase(found);
  items_.erase(folder);
  return true;
}

std::vector<URL> AskedItems::shown() const {
  std::vector<URL> urls;
  urls.reserve(shown_.size());
  for (const auto& [path, folder] : shown_) urls.push_back(folder.url);
  return urls;
}

void AskedItems::ask(const std::string& path, std::string url) {
  const std::string folder = folderOf(path);
  Asked& item = items_[folder][path];
  item.url = std::move(url);
  item.told = nullptr;
  if (!shown_.contains(folder)) noteUnshown(path, item);
}

void AskedItems::noteUnshown(const std::string& path, Asked& item) {
  if (item.order == 0) ++unshown_;
  item.order = nextNumber_++;
  unshownOrder_.push_back({item.order, path});
  while (unshown_ > maximumUnshown_) forgetOldest();
  // Asking for one item again and again must not let the order grow.
  if (unshownOrder_.size() > 2 * maximumUnshown_)
    std::erase_if(unshownOrder_, [this](const Order& entry) { return isStale(entry); });
}

bool AskedItems::isStale(const Order& entry) const {
  const auto folder = items_.find(folderOf(entry.path));
  if (folder == items_.end()) return true;
  const auto item = folder->second.find(entry.path);
  return item == folder->second.end() || item->second.order != entry.number;
}

void AskedItems::forgetOldest() {
  const Order oldest = std::move(unshownOrder_.front());
  unshownOrder_.pop_front();
  if (isStale(oldest)) return;
  --unshown_;
  const auto folder = items_.find(folderOf(oldest.path));
  folder->second.erase(oldest.path);
  if (folder->second.empty()) items_.erase(folder);
}

AskedItems::Asked* AskedItems::find(const std::string& path) {
  const auto folder = items_.find(folderOf(path));
  if (folder == items_.end()) return nullptr;
  const auto item = folder->second.find(path);
  return item == folder->second.end() ? nullptr : &item->second;
}

bool AskedItems::isNews(const std::string& path, const std::string& badge) {
  Asked* const item = find(path);
  if (item == nullptr) return true;
  if (item->told != nullptr && *item->told == badge) return false;
  item->told = &*badges_.insert(badge).first;
  return true;
}

std::optional<std::string_view> AskedItems::spelling(const std::string& path) const {
  const auto folder = items_.find(folderOf(path));
  if (folder == items_.end()) return std::nullopt;
  const auto item = folder->second.find(path);
  if (item == folder->second.end()) return std::nullopt;
  return item->second.url;
}

}  // namespace kelpie
