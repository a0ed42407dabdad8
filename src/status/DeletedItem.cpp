#include "status/DeletedItem.h"

#include <atomic>

namespace kelpie {
namespace {

constexpr std::string_view kSuffix = " \x0E.kelpieDeleted";

std::atomic<bool>& isMade() {
  static std::atomic<bool> made = false;
  return made;
}

}  // namespace

void makeDeletedFilesSuffix() { isMade() = true; }

std::optional<std::string_view> deletedFilesSuffix() {
  if (!isMade()) return std::nullopt;
  return kSuffix;
}

bool isPlaceholderPath(std::string_view path) { return isMade() && path.ends_with(kSuffix); }

}  // namespace kelpie
