#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "foundation/Object.h"

namespace kelpie {

// Writes keyed archives that both Apple's and GNUstep's unarchivers read: a binary property list
// with `$version` 100000, `$archiver` "NSKeyedArchiver", `$top`/`root` and `$objects`. Any thread.
class KeyedArchiver {
 public:
  // The archive of `root` (`archivedDataWithRootObject:`). Absent when `root` is nested deeper than
  // an archive may be.
  static std::optional<Bytes> archivedData(const Object& root);
};

}  // namespace kelpie
