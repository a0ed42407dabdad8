#include "status/PathSet.h"

#include <algorithm>
#include <functional>

namespace kelpie {

void PathSet::add(std::string_view path) {
  const std::lock_guard lock(mutex_);
  if (slots_.size() < 2 * (ends_.size() + 1)) grow();
  Slot& slot = slots_[slotOf(path)];
  if (slot != 0) return;
  text_ += path;
  ends_.push_back(text_.size());
  slot = static_cast<Slot>(ends_.size());
}

bool PathSet::contains(std::string_view path) const {
  const std::lock_guard lock(mutex_);
  return !slots_.empty() && slots_[slotOf(path)] != 0;
}

std::size_t PathSet::size() const {
  const std::lock_guard lock(mutex_);
  return ends_.size();
}

std::vector<std::string> PathSet::paths() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> copy;
  copy.reserve(ends_.size());
  for (std::size_t index = 0; index < ends_.size(); ++index) copy.emplace_back(pathAt(index));
  return copy;
}

std::string_view PathSet::pathAt(std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
  const std::string_view text = text_;
  return text.substr(begin, ends_[index] - begin);
}

std::size_t PathSet::slotOf(std::string_view path) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>()(path) & mask;
  while (slots_[slot] != 0 && pathAt(slots_[slot] - 1) != path) slot = (slot + 1) & mask;
  return slot;
}

void PathSet::grow() {
  constexpr std::size_t kSmallest = 16;
  slots_.assign(std::max(kSmallest, 2 * slots_.size()), 0);
  for (std::size_t index = 0; index < ends_.size(); ++index) {
    slots_[slotOf(pathAt(index))] = static_cast<Slot>(index + 1);
  }
}

}  // namespace kelpie
