#pragma once

#include <cstdint>

namespace kelpie {

// A value of a keyed archive, by the place where it stands there.
struct ArchivedValue {
  std::uint32_t uid = 0;     // its number among the archive's objects; 0: inline in another one
  std::uint32_t offset = 0;  // where its bytes begin; 0 for nil
};

}  // namespace kelpie
