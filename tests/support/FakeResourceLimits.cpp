#include "support/FakeResourceLimits.h"

#include <string>

namespace kelpie {

std::optional<OpenFilesLimit> FakeResourceLimits::openFilesLimit() const {
  events_.add("limits.read");
  return limit;
}

bool FakeResourceLimits::setOpenFilesLimit(const OpenFilesLimit& wanted) {
  events_.add("limits.set " + std::to_string(wanted.soft) + " " + std::to_string(wanted.hard));
  if (!limit || wanted.soft > wanted.hard || wanted.hard > limit->hard) return false;
  limit = wanted;
  return true;
}

}  // namespace kelpie
