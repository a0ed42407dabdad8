#include "linux/hostlink/AskedItems.h"

#include <algorithm>
#include <utility>

namespace kelpie {

std::string_view AskedItems::folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos || path.size() == 1) return {};
  return path.substr(0, std::max<std::size_t>(slash, 1));
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

void AskedItems::ask(const URL& item) {
  const std::string& path = item.path();
  const std::string_view folder = folderOf(path);
  auto items = items_.find(folder);
  if (items == items_.end()) items = items_.try_emplace(std::string(folder)).first;
  Asked& asked = items->second[path];
  asked.url = item.absoluteString();
  asked.told = nullptr;
  if (!shown_.contains(folder)) noteUnshown(path, asked);
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

std::optional<std::string_view> AskedItems::spellingToTell(const URL& item,
                                                           const std::string& badge) {
  const std::string_view folder = folderOf(item.path());
  if (const auto items = items_.find(folder); items != items_.end()) {
    if (const auto asked = items->second.find(item.path()); asked != items->second.end()) {
      const std::string*& told = asked->second.told;
      if (told != nullptr && *told == badge) return std::nullopt;
      told = &*badges_.insert(badge).first;
      return asked->second.url;
    }
  }
  return shows(folder) ? std::optional<std::string_view>(item.absoluteString()) : std::nullopt;
}

}  // namespace kelpie
