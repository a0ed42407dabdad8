#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "archive/BinaryPropertyList.h"
#include "archive/DecodingLimits.h"
#include "foundation/Object.h"
#include "foundation/ObjectComparison.h"

namespace kelpie {

// Makes objects of the plain values of a property list. A value that is referred to twice is made
// once. One reading, on one thread.
class PropertyListDecoder {
 public:
  // Borrows both.
  PropertyListDecoder(const BinaryPropertyList& list, DecodingLimits& limits)
      : list_(list), limits_(limits), comparison_(DecodingLimits::comparisons(list.byteCount())) {}

  // nil for a UID or a set. In a container a nil is left out, and so is an entry whose key or value
  // is nil.
  Object object(const BinaryPropertyList::Item& item);

  // Whether a value held itself or nested too deep, or more was asked for than the bytes can hold:
  // what was made is not whole.
  bool isRefused() const { return isRefused_; }
  // Whether a dictionary has a key that is no string. Archives may; what is a property list alone
  // could not be written again.
  bool hasOtherKeys() const { return hasOtherKeys_; }

 private:
  Object made(const BinaryPropertyList::Item& item);
  Objects elements(const BinaryPropertyList::Item& item);
  Object dictionary(const BinaryPropertyList::Item& item);

  const BinaryPropertyList& list_;
  DecodingLimits& limits_;
  ObjectComparison comparison_;
  bool isRefused_ = false;
  bool hasOtherKeys_ = false;
  // By the position in the list; absent while it is being made.
  std::unordered_map<std::uint32_t, std::optional<Object>> known_;
};

}  // namespace kelpie
