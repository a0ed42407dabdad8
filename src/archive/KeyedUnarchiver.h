#pragma once

#include <cstdint>
#include <limits>
#include <memory>

#include "foundation/Bytes.h"
#include "foundation/Object.h"

namespace kelpie {

// Reads keyed archives (binary property lists whose `$archiver` is "NSKeyedArchiver"), as Apple's
// and GNUstep's archivers write them. Any bytes may come in: an archive that is truncated, cyclic,
// mistyped, too deep or wrong about its counts yields nil or loses the part concerned, in time and
// memory proportional to its bytes (see ReadingBudget). Any thread.
class KeyedUnarchiver {
 public:
  // How deep archives may stand inside archives (tree nodes hold their children so).
  static constexpr int kMaximumNesting = 64;

  // The root object, whole (`unarchiveObjectWithData:`). nil when there is none.
  static Object unarchiveObject(ByteView archive);

  // The root object, read in place: containers look into `archive` on demand and keep it alive. It
  // reads as unarchiveObject() would, except that an element that does not decode is nil here and
  // left out there: leaving it out would mean decoding all of them first. And something deep inside
  // that makes unarchiveObject() refuse the whole does so here when it is read. nil when there is
  // none.
  // Reading it costs at most `maximumUnits` of its ReadingBudget.
  static Object open(std::shared_ptr<const Bytes> archive,
                     std::uint64_t maximumUnits = std::numeric_limits<std::uint64_t>::max());
};

}  // namespace kelpie
