#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "foundation/Object.h"

namespace kelpie {

// One comparison of two objects by content, whatever shares what inside them: a pair of shared
// containers is compared once, so the work is in proportion to the containers, not to the paths
// that lead to them. For one call, on one thread.
class ObjectComparison {
 public:
  // Containers nested deeper than this are unequal.
  static constexpr int kMaximumDepth = 256;

  // `maximumWork` bounds the number of values (and of 64-byte pieces of long ones) that are
  // compared, for objects that come from nobody knows where.
  explicit ObjectComparison(std::uint64_t maximumWork = UINT64_MAX) : workLeft_(maximumWork) {}

  bool isEqual(const Object& a, const Object& b);

  // Whether the work was more than allowed: everything has been unequal since.
  bool isExhausted() const { return workLeft_ == 0; }

 private:
  bool isEqualContainer(const Object& a, const Object& b);
  bool isEqualArray(const Objects& a, const Objects& b);
  bool isEqualSet(const Objects& a, const Objects& b);
  bool isEqualDictionary(const Dictionary& a, const Dictionary& b);
  bool isEqualOpaque(const OpaqueObject& a, const OpaqueObject& b);
  // Equality of two places in a container, either of which may be empty.
  bool isEqualSlot(const Object& a, const Object& b);

  bool charge(std::size_t byteCount);

  int depth_ = 0;
  std::uint64_t workLeft_;
  // What came out for two containers, by their addresses.
  std::map<std::pair<const void*, const void*>, bool> known_;
};

}  // namespace kelpie
