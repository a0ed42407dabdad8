#include "agent/git/ReferenceNumbers.h"

namespace kelpie::agent {

std::int64_t ReferenceNumbers::numberFor(const std::string& fullName) {
  const auto [at, isNew] = numbers_.try_emplace(fullName, Number{0, true});
  if (isNew) at->second.value = ++last_;
  at->second.asked = true;
  return at->second.value;
}

void ReferenceNumbers::forgetOthers() {
  std::erase_if(numbers_, [](const auto& entry) { return !entry.second.asked; });
  for (auto& [name, number] : numbers_) number.asked = false;
}

}  // namespace kelpie::agent
