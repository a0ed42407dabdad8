#pragma once

#include "foundation/ThreadBound.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// Ends the process where the caller is not inside a task of `queue`; see kThreadChecks. For the
// first line of what belongs to a queue.
inline void checkIsOn(const SerialQueue& queue, const char* function = __builtin_FUNCTION()) {
  if constexpr (kThreadChecks) {
    if (!queue.isCurrent()) failThreadCheck(function);
  }
}

}  // namespace kelpie
