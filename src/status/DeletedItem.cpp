#include "status/DeletedItem.h"

#include <atomic>

#include "protocol/StatusKeys.h"

namespace kelpie {
namespace {

std::atomic<bool>& isMade() {
  static std::atomic<bool> made = false;
  return made;
}

}  // namespace

void makeDeletedFilesSuffix() { isMade() = true; }

std::optional<std::string_view> deletedFilesSuffix() {
  if (!isMade()) return std::nullopt;
  return kDeletedItemSuffix;
}

bool isPlaceholderPath(std::string_view path) {
  return isMade() && path.ends_with(kDeletedItemSuffix);
}

}  // namespace kelpie
