#include "common/VisitedFolders.h"

#include <algorithm>

namespace kelpie::filemanagers {

void VisitedFolders::visit(const std::string& folder) {
  const auto found = std::ranges::find(visited_, folder);
  if (found != visited_.end()) {
    visited_.splice(visited_.begin(), visited_, found);
    return;
  }
  visited_.push_front(folder);
  handlers_.onEnter(visited_.front());
  leaveOldest();
}

void VisitedFolders::removeItem(const std::string& folder) {
  const auto found = items_.find(folder);
  if (found == items_.end() || --found->second > 0) return;
  items_.erase(found);
  leaveOldest();
}

void VisitedFolders::leaveOldest() {
  std::size_t empty = 0;
  for (auto folder = visited_.begin(); folder != visited_.end();) {
    if (items_.contains(*folder) || ++empty <= kMaximumEmpty) {
      ++folder;
      continue;
    }
    const std::string left = std::move(*folder);
    folder = visited_.erase(folder);
    handlers_.onLeave(left);
  }
}

}  // namespace kelpie::filemanagers
