#include "agent/git/ReferenceNumbers.h"

#include <atomic>
#include <random>

namespace kelpie::agent {
namespace {

// Each process counts on from a number of its own, drawn from so many that what two of them count
// never meets. All are above 0, and no larger than a double holds, as which JSON may carry them.
std::int64_t firstNumber() {
  std::random_device device;
  return std::uniform_int_distribution<std::int64_t>(1, std::int64_t{1} << 52U)(device);
}

std::int64_t nextReferenceNumber() {
  static std::atomic<std::int64_t> next = firstNumber();
  return next++;
}

}  // namespace

std::int64_t ReferenceNumbers::numberFor(const std::string& fullName) {
  const auto [at, isNew] = numbers_.try_emplace(fullName, Number{0, true});
  if (isNew) at->second.value = nextReferenceNumber();
  at->second.asked = true;
  return at->second.value;
}

void ReferenceNumbers::forgetOthers() {
  std::erase_if(numbers_, [](const auto& entry) { return !entry.second.asked; });
  for (auto& [name, number] : numbers_) number.asked = false;
}

}  // namespace kelpie::agent
