#pragma once

#include <algorithm>
#include <chrono>

namespace kelpie::cli {

using Clock = std::chrono::steady_clock;

// How long until `deadline`, as poll() wants it: rounded up, so that a wait does not end just
// before it; 0 when it has passed.
inline int pollTimeout(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, 3'600'000));
}

}  // namespace kelpie::cli
