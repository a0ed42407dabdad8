#include "status/PathSet.h"

#include <algorithm>
#include <functional>
#include <unordered_set>
#include <utility>

namespace kelpie {

void PathSet::add(std::string_view path) {
  const MutexLock lock(mutex_);
  addUnlocked(path);
}

void PathSet::remove(const std::vector<std::string>& paths) {
  const std::unordered_set<std::string_view> leaving(paths.begin(), paths.end());
  const MutexLock lock(mutex_);
  const std::string text = std::exchange(text_, {});
  const std::vector<std::size_t> ends = std::exchange(ends_, {});
  slots_ = {};
  const std::string_view all = text;
  std::size_t begin = 0;
  for (const std::size_t end : ends) {
    const std::string_view path = all.substr(begin, end - begin);
    if (!leaving.contains(path)) addUnlocked(path);
    begin = end;
  }
}

void PathSet::addUnlocked(std::string_view path) {
  if (slots_.size() < 2 * (ends_.size() + 1)) grow();
  Slot& slot = slots_[slotOf(path)];
  if (slot != 0) return;
  text_ += path;
  ends_.push_back(text_.size());
  slot = static_cast<Slot>(ends_.size());
}

bool PathSet::contains(std::string_view path) const {
  const MutexLock lock(mutex_);
  return !slots_.empty() && slots_[slotOf(path)] != 0;
}

std::size_t PathSet::size() const {
  const MutexLock lock(mutex_);
  return ends_.size();
}

std::optional<std::string> PathSet::first() const {
  const MutexLock lock(mutex_);
  return ends_.empty() ? std::nullopt : std::optional(std::string(pathAt(0)));
}

bool PathSet::allOf(FunctionRef<bool(std::string_view path)> test) const {
  const MutexLock lock(mutex_);
  for (std::size_t index = 0; index < ends_.size(); ++index)
    if (!test(pathAt(index))) return false;
  return true;
}

std::vector<std::string> PathSet::paths() const {
  const MutexLock lock(mutex_);
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
  for (std::size_t index = 0; index < ends_.size(); ++index)
    slots_[slotOf(pathAt(index))] = static_cast<Slot>(index + 1);
}

}  // namespace kelpie
