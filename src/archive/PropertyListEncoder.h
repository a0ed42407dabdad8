#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "archive/BinaryPropertyListWriter.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"

namespace kelpie {

// Adds plain values to a property list. A value that is met twice is added once. For one list, on
// one thread.
class PropertyListEncoder {
 public:
  using Number = BinaryPropertyListWriter::Number;

  // Borrows `list`; the values stand `depth` objects deep.
  explicit PropertyListEncoder(BinaryPropertyListWriter& list, int depth = 0)
      : list_(list), depth_(depth) {}

  // The number of the value; absent when a property list cannot hold it or it nests too deep.
  std::optional<Number> add(const Object& value);

 private:
  std::optional<Number> addContainer(const Object& value);
  std::optional<Number> addElements(const ObjectView& array);
  std::optional<Number> addEntries(const ObjectView& dictionary);

  BinaryPropertyListWriter& list_;
  int depth_;
  std::unordered_map<const void*, Number> known_;
  std::vector<Object> held_;  // what known_ has by address
};

}  // namespace kelpie
