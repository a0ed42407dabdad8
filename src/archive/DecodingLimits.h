#pragma once

#include <cstddef>
#include <cstdint>

namespace kelpie {

// What one reading of a property list or an archive, and of the archives inside it, may cost.
struct DecodingLimits {
  // Objects that stand inside one another, those of nested archives included.
  static constexpr int kMaximumDepth = 256;
  // How much more than its own bytes may be made. An honest archive has bytes for each object; but
  // a writer that keeps equal strings or data once may refer to one place from several objects.
  static constexpr std::uint64_t kMaximumGrowth = 8;
  static constexpr std::uint64_t kFreeBytes = 65536;

  // How many comparisons of keys the dictionaries of so many bytes may take. Keys are compared only
  // where their hashes are equal, which in an honest archive they hardly ever are.
  static constexpr std::uint64_t comparisons(std::size_t byteCount) {
    return kFreeBytes + byteCount / 8;
  }

  explicit DecodingLimits(std::size_t byteCount)
      : bytesLeft(kFreeBytes + kMaximumGrowth * byteCount) {}

  // Takes the cost of making an object from `byteCount` bytes. False when more has been made than
  // may be, from then on.
  bool charge(std::uint64_t byteCount) {
    const std::uint64_t cost = byteCount + 8;  // an object without contents is not for nothing
    bytesLeft = cost < bytesLeft ? bytesLeft - cost : 0;
    return bytesLeft != 0;
  }

  std::uint64_t bytesLeft;
  int nesting = 1;  // archives inside one another, the one being read included
  int depth = 0;    // objects inside one another, the one being made included
};

}  // namespace kelpie
