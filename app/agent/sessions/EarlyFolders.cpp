#include "agent/sessions/EarlyFolders.h"

#include <utility>

namespace kelpie::agent {

bool EarlyFolders::isEcho(const std::string& folder) {
  if (echoes_.erase(folder) != 0) {
    isEarly_ = !echoes_.empty() || !asked_.empty();
    return true;
  }
  if (isEarly_ && folder != root_ && asked_.size() + echoes_.size() < kMaximum)
    asked_.insert(folder);
  return false;
}

void EarlyFolders::lookAgain(const std::string& folder) {
  if (asked_.size() + echoes_.size() < kMaximum) asked_.insert(folder);
}

std::vector<std::string> EarlyFolders::take() {
  std::vector<std::string> folders(asked_.begin(), asked_.end());
  echoes_.merge(std::exchange(asked_, {}));
  return folders;
}

void EarlyFolders::tellAgain() { asked_.merge(std::exchange(echoes_, {})); }

void EarlyFolders::reset() {
  isEarly_ = true;
  asked_.clear();
  echoes_.clear();
}

}  // namespace kelpie::agent
