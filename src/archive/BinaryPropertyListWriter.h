#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/HashIndex.h"

namespace kelpie {

// Makes a binary property list (see BinaryPropertyList for the format). Objects are added from the
// leaves up; each gets a number by which containers hold it. Equal strings, numbers and short data
// are held once. For one list, on one thread.
class BinaryPropertyListWriter {
 public:
  using Number = std::uint32_t;

  Number addBoolean(bool value);
  Number addInteger(std::int64_t value);
  // Also beyond the signed range.
  Number addUnsigned(std::uint64_t value);
  Number addReal(double value);
  Number addDate(double secondsSinceReferenceDate);
  // UTF-8; a byte that is not becomes U+FFFD.
  Number addString(std::string_view text);
  Number addData(ByteView bytes);
  // Takes memory in proportion to the highest one: they are meant to be counted through.
  Number addUid(std::uint32_t uid);
  Number addArray(std::span<const Number> elements);
  // As many keys as values.
  Number addDictionary(std::span<const Number> keys, std::span<const Number> values);

  // The whole list with `top` as its top object.
  Bytes finish(Number top) const;

 private:
  enum class Form : std::uint8_t { Scalar, Array, Dictionary };
  struct Entry {
    Form form;
    std::uint64_t begin;  // in scalars_ or references_
    std::uint64_t count;  // of bytes, elements or entries
  };

  // Each adds the object that was appended to scalars_ from `begin` on; the second one takes it
  // away again when there is an equal one.
  Number addScalar(std::size_t begin);
  Number addScalarOnce(std::size_t begin);
  ByteView bytesOfScalar(const Entry& entry) const;

  std::vector<Entry> entries_;
  Bytes scalars_;                            // whole objects that hold no others
  std::vector<Number> references_;           // the contents of those that do
  HashIndex known_;                          // entries_ that are held once, by their bytes
  std::vector<std::optional<Number>> uids_;  // by their values
};

}  // namespace kelpie
