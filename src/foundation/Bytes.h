#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace kelpie {

// Owned raw bytes: an archive, a bookmark, an object id.
using Bytes = std::vector<std::uint8_t>;

// Borrowed raw bytes; the function that returns one says how long they live.
using ByteView = std::span<const std::uint8_t>;

// The bytes of `text`, without a terminator. Borrowed from `text`.
inline ByteView bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// `bytes` as text, in whatever encoding they are. Borrowed from `bytes`.
inline std::string_view textOf(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace kelpie
