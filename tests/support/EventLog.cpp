#include "support/EventLog.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kelpie {

void EventLog::add(std::string line) {
  const MutexLock lock(mutex_);
  lines_.push_back(std::move(line));
}

void EventLog::clear() {
  const MutexLock lock(mutex_);
  lines_.clear();
}

std::vector<std::string> EventLog::lines() const {
  const MutexLock lock(mutex_);
  return lines_;
}

std::vector<std::string> EventLog::linesWith(std::string_view prefix) const {
  const MutexLock lock(mutex_);
  std::vector<std::string> found;
  std::copy_if(lines_.begin(), lines_.end(), std::back_inserter(found),
               [prefix](const std::string& line) { return line.starts_with(prefix); });
  return found;
}

}  // namespace kelpie
