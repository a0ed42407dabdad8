#pragma once

#include <cstdint>

namespace kelpie {

// The position of a value in a keyed archive.
struct ArchivedValue {
  std::uint32_t uid = 0;     // its number among the archive's objects; 0: inline in another one
  std::uint32_t offset = 0;  // where its bytes begin; 0 for nil
};

}  // namespace kelpie
