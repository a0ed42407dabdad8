#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/ArchivedValue.h"
#include "foundation/FunctionRef.h"
#include "foundation/Object.h"

namespace kelpie {

class ArchiveReader;

// A borrowed look at an Object or at a part of an opened archive: trivially copyable, allocates
// nothing and counts no references, so that a dictionary of a million entries can be walked in
// place. Valid while the Object that it was made from lives. Reads as leniently as Object does;
// reading from an archive draws from its ReadingBudget. Any thread.
class ObjectView {
 public:
  // Of nil.
  ObjectView() = default;
  // Implicit, so that an object can be passed as a view.
  ObjectView(const Object& object);  // NOLINT(google-explicit-constructor)

  Object::Kind kind() const;
  bool isNil() const { return kind() == Object::Kind::Absent; }

  bool boolValue() const;
  std::int64_t integerValue() const;
  std::uint64_t unsignedIntegerValue() const;
  std::uint16_t unsignedShortValue() const;

  // The text of a string (UTF-8), else "". Copies.
  std::string stringValue() const;
  // Whether this is a string of exactly this text. Copies nothing.
  bool isEqualToString(std::string_view text) const;
  // The bytes of a path held as a string or as data; absent for anything else. Copies.
  std::optional<std::string> pathBytes() const;
  // The bytes of data, borrowed; absent for anything else.
  std::optional<ByteView> data() const;
  // The URL; absent for anything else. In an opened archive made anew by each call, so that it is
  // not the same object as that of another call or of toObject().
  std::optional<URL> url() const;

  // For a dictionary in an opened archive this counts every entry, including those that do not
  // decode and those whose key comes again.
  std::size_t size() const;
  // How much room to make for the elements before they are seen: size(), but no more than what the
  // archive's bytes can hold, since the same element may stand in a container any number of times.
  std::size_t plausibleSize() const;
  ObjectView at(std::size_t index) const;
  // The elements of an array, for several looks at them; absent for anything else. Valid as long as
  // the Object that the view was made from.
  class Elements;
  std::optional<Elements> array() const;
  ObjectView operator[](std::string_view key) const;
  template <std::same_as<Object> Key>
  ObjectView operator[](const Key& key) const {
    return valueForKey(key);
  }

  // Calls `visit` for each element of an array or set, in order, until it returns false.
  void forEachElement(FunctionRef<bool(ObjectView element)> visit) const;
  // Calls `visit` for each entry of a dictionary, in the archive's order, until it returns false.
  // Where a key stands twice there (no writer does that) the last is the one that counts.
  void forEachEntry(FunctionRef<bool(ObjectView key, ObjectView value)> visit) const;

  // An owning object with the same value; parts of an archive share the archive's bytes.
  Object toObject() const;

  // Charges the message's budget for what the caller makes of the value beyond a copy of its texts
  // and 64 bytes for an element (see ReadingBudget). False once the budget is used up. A built
  // value has no budget and never refuses.
  bool charge(std::uint64_t units) const;
  // Whether more was read of the message than its bytes can hold: values that read as nil or empty
  // may be present all the same. Such a message is best dropped.
  bool isRefused() const;

 private:
  friend class ArchiveReader;
  ObjectView(const ArchiveReader& reader, const ArchivedValue& value)
      : reader_(&reader), value_(value) {}

  ObjectView valueForKey(const Object& key) const;
  // The number; nil for anything else.
  Object number() const;
  // The value of the last entry of an archived dictionary for whose key `isKey` is true.
  template <class IsKey>
  ObjectView entryWhere(const IsKey& isKey) const;

  const Object* object_ = nullptr;         // a built value, or
  const ArchiveReader* reader_ = nullptr;  // this one of an archive
  ArchivedValue value_;
};

class ObjectView::Elements {
 public:
  std::size_t size() const { return built_ != nullptr ? built_->size() : count_; }
  // nil beyond the end.
  ObjectView at(std::size_t index) const;

 private:
  friend class ObjectView;
  explicit Elements(const Objects* built) : built_(built) {}
  Elements(const ArchiveReader& reader, const ArchivedValue& parent, std::uint32_t offset,
           std::uint32_t count)
      : reader_(&reader), parent_(parent), offset_(offset), count_(count) {}

  const Objects* built_ = nullptr;         // of a built array, or
  const ArchiveReader* reader_ = nullptr;  // of one in an archive
  ArchivedValue parent_;
  std::uint32_t offset_ = 0;  // of the list of its elements
  std::uint32_t count_ = 0;
};

}  // namespace kelpie
