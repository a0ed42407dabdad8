// The fixed numbers of binary property lists that reading and writing share.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kelpie {

// Bytes of the trailer, which ends every list: sizes, count and place of the offset table.
inline constexpr std::size_t kTrailerSize = 32;

// The markers of the two booleans, which have no contents.
inline constexpr std::uint8_t kFalse = 0x08;
inline constexpr std::uint8_t kTrue = 0x09;

}  // namespace kelpie
