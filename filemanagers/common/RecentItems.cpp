#include "common/RecentItems.h"

#include "linux/hostclient/ViewedItems.h"

namespace kelpie::filemanagers {

RecentItems::Token RecentItems::use(const std::string& path) {
  const auto folder = folderOf(std::string(ViewedItems::folderOf(path)));
  const auto [entry, isNew] = items_.try_emplace(path);
  Item& item = entry->second;
  if (isNew) {
    folder->items.push_front(&item);
    item = {path, folder, folder->items.begin()};
    keepLimits();
  } else {
    folder->items.splice(folder->items.begin(), folder->items, item.place);
  }
  return &item;
}

std::list<RecentItems::Folder>::iterator RecentItems::folderOf(const std::string& path) {
  const auto [entry, isNew] = foldersByPath_.try_emplace(path);
  if (isNew) {
    folders_.push_front({path, {}});
    entry->second = folders_.begin();
  } else {
    folders_.splice(folders_.begin(), folders_, entry->second);
  }
  return entry->second;
}

void RecentItems::keepLimits() {
  while (folders_.size() > 1 &&
         (folders_.size() > maximumFolders_ || items_.size() > maximumItems_)) {
    Folder& oldest = folders_.back();
    while (!oldest.items.empty()) forgetLast(oldest);
    foldersByPath_.erase(oldest.path);
    folders_.pop_back();
  }
  while (folders_.front().items.size() > maximumItems_) forgetLast(folders_.front());
}

void RecentItems::forgetLast(Folder& folder) {
  const Item* item = folder.items.back();
  onForgotten_(item);
  folder.items.pop_back();
  items_.erase(items_.find(item->path));
}

void RecentItems::forEach(const std::function<void(const std::string& path)>& call) const {
  for (const auto& [path, item] : items_) call(path);
}

}  // namespace kelpie::filemanagers
