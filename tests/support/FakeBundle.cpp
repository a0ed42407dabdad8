#include "support/FakeBundle.h"

namespace kelpie {

std::optional<std::string> FakeBundle::infoString(std::string_view key) const {
  const auto found = information.find(key);
  return found == information.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace kelpie
