#include "status/PathSet.h"

namespace kelpie {

void PathSet::add(std::string_view path) {
  const std::lock_guard lock(mutex_);
  paths_.emplace(path);
}

bool PathSet::contains(std::string_view path) const {
  const std::lock_guard lock(mutex_);
  return paths_.contains(std::string(path));
}

std::size_t PathSet::size() const {
  const std::lock_guard lock(mutex_);
  return paths_.size();
}

std::vector<std::string> PathSet::paths() const {
  const std::lock_guard lock(mutex_);
  return {paths_.begin(), paths_.end()};
}

}  // namespace kelpie
