#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace kelpie {

// Finds what stands in a list by its hash: the list is its owner's, this holds positions in it, 16
// to 32 bytes each and none of them in memory of its own. Hashes that somebody chose to lie side by
// side do not lie side by side here. One thread at a time, or any number while nothing is added.
class HashIndex {
 public:
  bool empty() const { return count_ == 0; }
  // Makes room for so many positions in all.
  void reserve(std::size_t count);
  void clear();

  // Adds a position below 2^32 - 1, whether or not there are others of this hash.
  void add(std::size_t hash, std::size_t position);

  // A position of this hash for which `fits` is true; absent when there is none. `fits` may also be
  // asked about a few positions of other hashes.
  template <class Fits>
  std::optional<std::size_t> find(std::size_t hash, const Fits& fits) const {
    if (slots_.empty()) return std::nullopt;
    const std::uint32_t mixed = mix(hash);
    for (std::size_t at = mixed & mask();; at = (at + 1) & mask()) {
      const Slot& slot = slots_[at];
      if (slot.position == kFree) return std::nullopt;
      if (slot.mixed == mixed && fits(std::size_t{slot.position})) return slot.position;
    }
  }

  // How many positions the longest search may pass, for tests: a handful whatever the hashes are,
  // unless they are equal.
  std::size_t longestRun() const;

 private:
  static constexpr std::uint32_t kFree = std::numeric_limits<std::uint32_t>::max();
  struct Slot {
    std::uint32_t mixed = 0;
    std::uint32_t position = kFree;
  };

  std::size_t mask() const { return slots_.size() - 1; }
  std::uint32_t mix(std::size_t hash) const;
  void put(Slot slot);
  void grow(std::size_t size);

  std::vector<Slot> slots_;  // a power of two of them, of which at most half are taken, or none
  std::size_t count_ = 0;
  std::uint64_t seed_ = 0;  // of no use to know for another process
};

}  // namespace kelpie
