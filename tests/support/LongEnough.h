#pragma once

#include <chrono>

namespace kelpie {

// How long a test waits for what must appear: far longer than a loaded machine takes, so that only
// a wrong program lets it pass.
inline constexpr std::chrono::seconds kLongEnough(30);

}  // namespace kelpie
