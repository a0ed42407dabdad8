#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "e2e/soak/SoakSession.h"

namespace kelpie {

// What scripts/soak makes its page of: what was done until each checkpoint, all figures, and what
// was made of them. The first `warmUp` checkpoints are not judged.
nlohmann::json soakReport(const SoakSession& soak, const std::string& kind, std::uint64_t seed,
                          std::size_t warmUp);

}  // namespace kelpie
