#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kelpie {

// The head of a message on a port's socket: "KPM1", the message id (signed) and the length of the
// payload that follows (unsigned), both little-endian.
struct MessageFrame {
  static constexpr std::size_t kSize = 16;
  static constexpr std::uint64_t kLongestPayload = std::uint64_t{1} << 30;
  using Head = std::array<std::uint8_t, kSize>;

  std::int32_t id = 0;
  std::uint64_t length = 0;

  Head toBytes() const;
  // Absent when the magic is another one. Any length passes.
  static std::optional<MessageFrame> fromBytes(const Head& bytes);
};

}  // namespace kelpie
