#include "support/FakeRunningApplications.h"

namespace kelpie {

std::vector<std::int32_t> FakeRunningApplications::withBundleIdentifier(
    std::string_view identifier) {
  events_.add("applications.find " + std::string(identifier));
  const auto found = running.find(identifier);
  return found == running.end() ? std::vector<std::int32_t>() : found->second;
}

}  // namespace kelpie
