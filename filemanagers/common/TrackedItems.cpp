#include "common/TrackedItems.h"

#include <utility>

namespace kelpie::filemanagers {

std::string TrackedItems::track(Token token, const std::string& path) {
  const auto [entry, isNew] = paths_.try_emplace(token, path);
  if (isNew) {
    tokens_.emplace(path, token);
    return {};
  }
  if (entry->second == path) return path;
  unlink(token, entry->second);  // the item was renamed
  tokens_.emplace(path, token);
  return std::exchange(entry->second, path);
}

std::string TrackedItems::forget(Token token) {
  const auto found = paths_.find(token);
  if (found == paths_.end()) return {};
  std::string path = std::move(found->second);
  paths_.erase(found);
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
    for (auto entry = begin; entry != end; ++entry)
      if (changed_.insert(entry->second).second) order_.push_back(entry->second);
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
