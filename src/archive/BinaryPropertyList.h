#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Bytes.h"

namespace kelpie {

// A binary property list ("bplist00") read where it stands, without a copy or an index of its own.
//
// The format: the magic; the objects, each a marker byte whose upper half says what it is and whose
// lower half how big, and its contents; a table of the objects' offsets; a trailer of 32 bytes that
// says where the table is and how wide its entries and the references between objects are. An
// object's place in the table is its number, and containers hold numbers. All integers are
// big-endian.
//
// Any bytes may come in. An item that is absent, runs over the end or is of an unknown type reads
// as an item of type None. No count is believed before it is checked against the bytes that are
// left. Borrows the bytes. Any thread.
class BinaryPropertyList {
 public:
  enum class Type : std::uint8_t {
    None,
    Boolean,
    Integer,
    Real,
    Date,
    Data,
    Ascii,  // a string, one byte a character
    Utf16,  // a string, big-endian
    Uid,    // a reference to an object of a keyed archive
    Array,
    Set,
    Dictionary,
  };

  // One object: what it is, where its marker and its contents begin, and how many bytes, code
  // units, elements or entries they are.
  struct Item {
    Type type = Type::None;
    std::uint32_t offset = 0;
    std::uint32_t contents = 0;
    std::uint32_t count = 0;
  };

  // A list without any object.
  BinaryPropertyList() = default;
  // Absent when the bytes are not a binary property list, or 4 GiB or more.
  static std::optional<BinaryPropertyList> open(ByteView bytes);

  std::size_t byteCount() const { return bytes_.size(); }
  std::uint32_t objectCount() const { return objectCount_; }
  std::uint32_t topNumber() const { return topNumber_; }

  // The object with that number; None when there is none.
  Item item(std::uint32_t number) const {
    if (number >= objectCount_) return {};
    const std::uint64_t offset =
        sized(tableOffset_ + std::size_t{number} * offsetSize_, offsetSize_);
    return offset < tableOffset_ ? itemAt(static_cast<std::uint32_t>(offset)) : Item();
  }
  // The object whose marker is at `offset`, as an Item told it.
  Item itemAt(std::uint32_t offset) const;

  // The number at `index` in an array or set, or of a key (the first `count`) or value (the next
  // `count`) in a dictionary. The index must be in range.
  std::uint32_t number(const Item& container, std::size_t index) const {
    return static_cast<std::uint32_t>(
        sized(container.contents + index * referenceSize_, referenceSize_));
  }
  Item keyAt(const Item& dictionary, std::size_t index) const {
    return item(number(dictionary, index));
  }
  Item valueAt(const Item& dictionary, std::size_t index) const {
    return item(number(dictionary, dictionary.count + index));
  }
  // The value under a key of a dictionary; None when absent and for anything else.
  Item value(const Item& dictionary, std::string_view key) const;

  // How many bytes the contents are.
  std::size_t contentSize(const Item& item) const;

  // The contents; of an item of another type: NO, 0, empty.
  bool boolean(const Item& item) const;
  // The low 64 bits, two's complement.
  std::uint64_t integer(const Item& item) const;
  bool isNegative(const Item& integer) const;
  double real(const Item& item) const;  // also the seconds of a date
  std::uint64_t uid(const Item& item) const;
  // The bytes of data or of an ASCII string. Borrowed from what was opened.
  ByteView bytes(const Item& item) const;
  // The text as UTF-8; U+FFFD for half a surrogate pair and for a byte that is not ASCII.
  std::string string(const Item& item) const;
  bool isString(const Item& item) const {
    return item.type == Type::Ascii || item.type == Type::Utf16;
  }
  // Whether this is a string of exactly this text (UTF-8).
  bool isEqualToString(const Item& item, std::string_view text) const;

 private:
  // A big-endian integer of `size` bytes, 1 to 8. Must be in range.
  std::uint64_t sized(std::size_t offset, std::size_t size) const {
    // Whatever precedes the trailer has 8 bytes behind it, so that one load serves every size.
    const std::uint8_t* at = bytes_.data() + offset;
    const std::uint64_t eight = std::uint64_t{at[0]} << 56U | std::uint64_t{at[1]} << 48U |
                                std::uint64_t{at[2]} << 40U | std::uint64_t{at[3]} << 32U |
                                std::uint64_t{at[4]} << 24U | std::uint64_t{at[5]} << 16U |
                                std::uint64_t{at[6]} << 8U | std::uint64_t{at[7]};
    return eight >> (64U - 8U * size);
  }
  // The object whose marker, at `offset`, does not say how big it is.
  Item longItemAt(std::uint32_t offset) const;
  // An item of that many elements, if they lie before the table.
  Item checked(Type type, std::uint32_t offset, std::uint32_t contents, std::uint64_t count,
               std::uint64_t elementSize) const {
    const std::uint64_t room = tableOffset_ - contents;
    // The first keeps the product small.
    if (count > room || count * elementSize > room) return {};
    return {type, offset, contents, static_cast<std::uint32_t>(count)};
  }

  ByteView bytes_;
  std::uint32_t objectCount_ = 0;
  std::uint32_t topNumber_ = 0;
  std::uint32_t tableOffset_ = 0;  // the objects end here at the latest
  std::uint8_t offsetSize_ = 0;    // bytes of an entry in the table
  std::uint8_t referenceSize_ = 0;
};

}  // namespace kelpie
