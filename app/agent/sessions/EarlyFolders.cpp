#include "agent/sessions/EarlyFolders.h"

#include <utility>

namespace kelpie::agent {

bool EarlyFolders::isEcho(const std::string& folder) {
  thread_.check();
  if (const auto echo = echoes_.extract(folder)) {
    if (echo.mapped()) isEarly_ = !echoes_.empty() || !asked_.empty();
    return true;
  }
  if (isEarly_ && folder != root_ && asked_.size() + echoes_.size() < kMaximum)
    asked_.insert_or_assign(folder, true);
  return false;
}

void EarlyFolders::lookAgain(const std::string& folder) {
  thread_.check();
  if (asked_.size() + echoes_.size() < kMaximum) asked_.try_emplace(folder, false);
}

std::vector<std::string> EarlyFolders::beginSecondLooks() {
  thread_.check();
  std::vector<std::string> folders;
  for (const auto& [folder, isOwn] : asked_) folders.push_back(folder);
  echoes_.merge(std::exchange(asked_, {}));
  return folders;
}

void EarlyFolders::tellAgain() {
  thread_.check();
  asked_.merge(std::exchange(echoes_, {}));
}

void EarlyFolders::reset() {
  thread_.check();
  isEarly_ = true;
  asked_.clear();
  echoes_.clear();
}

}  // namespace kelpie::agent
