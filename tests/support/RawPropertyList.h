#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Bytes.h"

namespace kelpie {

// Binary property lists put together by hand, sound ones and others: every marker, width and count
// is the test's own. Shares no code with what it tests.
class RawPropertyList {
 public:
  using Number = std::uint32_t;

  // The sizes, in bytes, of a reference to an object and of an entry of the offset table.
  explicit RawPropertyList(std::size_t referenceSize = 2, std::size_t offsetSize = 4);

  // An object of these very bytes.
  Number raw(const Bytes& bytes);
  // A second number for the bytes of an object.
  Number alias(Number number);
  Number boolean(bool value) { return raw({static_cast<std::uint8_t>(value ? 0x09 : 0x08)}); }
  // Of 1, 2, 4, 8 or 16 bytes; the upper 8 of 16 are `upper`.
  Number integer(std::uint64_t value, std::size_t size = 8, std::uint64_t upper = 0);
  Number real(double value);
  Number shortReal(float value);
  Number date(double seconds);
  Number ascii(std::string_view text);
  Number utf16(const std::u16string& text);
  Number data(const Bytes& bytes);
  Number uid(std::uint64_t value, std::size_t width = 2);
  Number array(const std::vector<Number>& elements);
  Number dictionary(const std::vector<std::pair<Number, Number>>& entries);
  // Keys are added as strings.
  Number dictionary(const std::vector<std::pair<std::string, Number>>& entries);
  // A marker with that count, whatever follows.
  Number claim(std::uint8_t marker, std::uint64_t count, const Bytes& contents = {});

  std::size_t objectCount() const { return offsets_.size(); }

  // The list; what its trailer says can be changed with setField().
  Bytes finish(Number top) const;

  // Where, from the end, the trailer has its fields of 8 bytes.
  static constexpr std::size_t kObjectCount = 24;
  static constexpr std::size_t kTopNumber = 16;
  static constexpr std::size_t kTableOffset = 8;
  // Sets the field of 8 bytes that begins `fromEnd` bytes before the end.
  static void setField(Bytes& list, std::size_t fromEnd, std::uint64_t value);

 private:
  void appendReference(Bytes& bytes, Number number) const;

  std::size_t referenceSize_;
  std::size_t offsetSize_;
  Bytes objects_;
  std::vector<std::uint64_t> offsets_;
};

// A keyed archive put together by hand. Objects are numbered from 1; a number can be given out
// before its object is there, so that objects can refer to each other in circles.
class RawArchive {
 public:
  using Number = RawPropertyList::Number;

  explicit RawArchive(std::size_t referenceSize = 2, std::size_t uidWidth = 2);

  // The next number, for set().
  std::uint32_t reserve();
  void set(std::uint32_t uid, Number object) { objects_[uid] = object; }
  // A property-list value as the next object.
  std::uint32_t add(Number object);

  // A reference to the object with that number.
  Number reference(std::uint32_t uid) { return list.uid(uid, uidWidth_); }
  Number references(const std::vector<std::uint32_t>& uids);

  // A class of these names, most derived first.
  std::uint32_t classNamed(const std::vector<std::string>& names);
  // The dictionary of an object's keys, its class last.
  Number object(const std::vector<std::string>& classNames,
                std::vector<std::pair<std::string, Number>> fields);
  std::uint32_t addObject(const std::vector<std::string>& classNames,
                          std::vector<std::pair<std::string, Number>> fields);
  std::uint32_t addString(std::string_view text) { return add(list.ascii(text)); }
  std::uint32_t addArray(const std::vector<std::uint32_t>& elements);
  std::uint32_t addDictionary(const std::vector<std::uint32_t>& keys,
                              const std::vector<std::uint32_t>& values);
  std::uint32_t addUrl(std::uint32_t base, std::string_view relative);

  Bytes finish(std::uint32_t root);

  RawPropertyList list;

 private:
  std::size_t uidWidth_;
  std::vector<Number> objects_;
  std::vector<std::pair<std::vector<std::string>, std::uint32_t>> classes_;
};

}  // namespace kelpie
