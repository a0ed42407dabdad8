#include "settings/TrustedRepositories.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <utility>

namespace kelpie {

TrustedRepositories TrustedRepositories::fromObject(const Object& list) {
  TrustedRepositories trusted;
  if (!list.isArray()) return trusted;
  std::unordered_set<std::string> seen;
  for (const Object& element : list.elements())
    if (std::optional<std::string> path = element.pathBytes();
        path && path->starts_with('/') && path->find('\0') == std::string::npos &&
        seen.insert(*path).second)
      trusted.paths_.push_back(*std::move(path));
  return trusted;
}

Object TrustedRepositories::toObject() const {
  Objects list;
  list.reserve(paths_.size());
  for (const std::string& path : paths_) list.push_back(Object::path(path));
  return list;
}

bool TrustedRepositories::add(const std::string& path) {
  if (std::ranges::find(paths_, path) != paths_.end()) return false;
  paths_.push_back(path);
  return true;
}

bool TrustedRepositories::remove(std::string_view path) { return std::erase(paths_, path) > 0; }

}  // namespace kelpie
