#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/Bytes.h"

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

  // Looks text up without copying it.
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>{}(text);
    }
  };
  using TextMap = std::unordered_map<std::string, Number, TextHash, std::equal_to<>>;

  // Adds what was appended to scalars_ since `begin`.
  Number addScalar(std::size_t begin);
  Number addCounted(std::uint8_t marker, std::uint64_t count, ByteView contents);

  std::vector<Entry> entries_;
  Bytes scalars_;                   // whole objects that hold no others
  std::vector<Number> references_;  // the contents of those that do
  std::array<std::optional<Number>, 2> booleans_;
  std::unordered_map<std::int64_t, Number> integers_;
  std::unordered_map<std::uint64_t, Number> unsigneds_;
  std::unordered_map<std::uint64_t, Number> reals_;  // by their bits
  std::vector<std::optional<Number>> uids_;          // by their values
  TextMap strings_;
  TextMap shortData_;
};

}  // namespace kelpie
