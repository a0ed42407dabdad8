#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "foundation/Object.h"

namespace kelpie {

// One comparison of two objects by content. A pair of shared containers is compared once, so the
// work is in proportion to the containers, not to the paths that lead to them. For one call, on one
// thread.
class ObjectComparison {
 public:
  // Containers nested deeper than this are unequal.
  static constexpr int kMaximumDepth = 256;

  // Enough for any honest comparison, and about a second of work.
  static constexpr std::uint64_t kMaximumWork = std::uint64_t{1} << 27U;

  // `maximumWork` bounds the number of values (and of 64-byte pieces of long ones) that are
  // compared. Objects that come from nobody knows where can be made so that each element of one
  // set has to be compared with each of another.
  explicit ObjectComparison(std::uint64_t maximumWork = kMaximumWork) : workLeft_(maximumWork) {}

  bool isEqual(const Object& a, const Object& b);

  // Whether the bound was exceeded: everything has counted as unequal since.
  bool isExhausted() const { return workLeft_ == 0; }

 private:
  bool isEqualContainer(const Object& a, const Object& b);
  bool isEqualArray(const Objects& a, const Objects& b);
  bool isEqualSet(const Objects& a, const Objects& b);
  bool isEqualDictionary(const Dictionary& a, const Dictionary& b);
  bool isEqualOpaque(const OpaqueObject& a, const OpaqueObject& b);
  // Whether more than one place holds the container. A hint: other threads may change it.
  static bool isHeldTwice(const Object& object);
  // Equality of two places in a container, either of which may be empty.
  bool isEqualSlot(const Object& a, const Object& b);

  bool charge(std::uint64_t work);

  int depth_ = 0;
  std::uint64_t workLeft_;
  // The results for pairs of containers, by their addresses, of which at least one is held in
  // several places.
  std::map<std::pair<const void*, const void*>, bool> known_;
};

}  // namespace kelpie
