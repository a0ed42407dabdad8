#include "foundation/HashIndex.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace kelpie {

namespace {

constexpr std::size_t kFewestSlots = 32;

}  // namespace

void HashIndex::reserve(std::size_t count) {
  const std::size_t needed = std::bit_ceil(std::max(2 * count, kFewestSlots));
  if (needed > slots_.size()) grow(needed);
}

void HashIndex::clear() {
  slots_.clear();
  count_ = 0;
}

void HashIndex::add(std::size_t hash, std::size_t position) {
  if (2 * (count_ + 1) > slots_.size()) grow(std::max(2 * slots_.size(), kFewestSlots));
  put({mix(hash), static_cast<std::uint32_t>(position)});
  ++count_;
}

std::size_t HashIndex::longestRun() const {
  std::size_t longest = 0;
  std::size_t run = 0;
  for (const Slot& slot : slots_) {
    run = slot.position == kFree ? 0 : run + 1;
    longest = std::max(longest, run);
  }
  return longest;
}

// Each bit of the result depends on all of the hash and of the seed.
std::uint32_t HashIndex::mix(std::size_t hash) const {
  std::uint64_t bits = hash ^ seed_;
  bits = (bits ^ (bits >> 32)) * 0x9E3779B97F4A7C15U;
  bits = (bits ^ (bits >> 29)) * 0xBF58476D1CE4E5B9U;
  return static_cast<std::uint32_t>(bits >> 32);
}

void HashIndex::put(Slot slot) {
  std::size_t at = slot.mixed & mask();
  while (slots_[at].position != kFree) at = (at + 1) & mask();
  slots_[at] = slot;
}

void HashIndex::grow(std::size_t size) {
  const std::vector<Slot> former = std::exchange(slots_, std::vector<Slot>(size));
  // Where memory lies differs from process to process.
  if (count_ == 0) seed_ = std::bit_cast<std::uintptr_t>(slots_.data());
  for (const Slot& slot : former)
    if (slot.position != kFree) put(slot);
}

}  // namespace kelpie
