#include "common/TrackedItems.h"

#include <utility>

namespace kelpie::filemanagers {

std::string TrackedItems::track(Token token, const std::string& path) {
  const auto [entry, isNew] = tracked_.try_emplace(token);
  Item& item = entry->second;
  if (isNew) {
    item.path = path;
    tokens_.emplace(path, token);
    return {};
  }
  if (item.path == path) return path;
  unlink(token, item.path);  // the item was renamed
  tokens_.emplace(path, token);
  return std::exchange(item.path, path);
}

std::string TrackedItems::forget(Token token) {
  const auto found = tracked_.find(token);
  if (found == tracked_.end()) return {};
  std::string path = std::move(found->second.path);
  tracked_.erase(found);
  unlink(token, path);
  changed_.erase(token);
  return path;
}

void TrackedItems::unlink(Token token, const std::string& path) {
  const auto [begin, end] = tokens_.equal_range(path);
  for (auto entry = begin; entry != end; ++entry) {
    if (entry->second != token) continue;
    tokens_.erase(entry);
    return;
  }
}

void TrackedItems::change(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    const auto [begin, end] = tokens_.equal_range(path);
    for (auto entry = begin; entry != end; ++entry) changeOne(entry->second);
  }
}

void TrackedItems::changeOne(Token token) {
  if (changed_.insert(token).second) order_.push_back(token);
}

void TrackedItems::changeAll() {
  for (auto& [token, item] : tracked_) {
    item.mustRenew = true;
    changeOne(token);
  }
}

TrackedItems::Token TrackedItems::takeChanged() {
  while (!order_.empty()) {
    const Token token = order_.front();
    order_.pop_front();
    if (changed_.erase(token) > 0) return token;
  }
  return nullptr;
}

}  // namespace kelpie::filemanagers
