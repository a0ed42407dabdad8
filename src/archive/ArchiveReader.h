#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "archive/BinaryPropertyList.h"
#include "archive/ReadingBudget.h"
#include "foundation/ArchivedValue.h"
#include "foundation/Bytes.h"
#include "foundation/FunctionRef.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"

namespace kelpie {

class ArchiveCycles;

// What a value of a keyed archive is, and the part of the property list that says so.
struct ArchivedContent {
  Object::Kind kind = Object::Kind::Absent;
  bool isMutable = false;
  // Of a plain or boxed value the value, of an array or set its elements, of a dictionary its
  // keys, of anything else the object itself.
  BinaryPropertyList::Item item;
  // Of a dictionary its values.
  BinaryPropertyList::Item values;
};

// Makes objects of what stands in an archive.
class ArchivedValueMaker {
 public:
  virtual ~ArchivedValueMaker() = default;
  // nil for what does not decode.
  virtual Object objectOf(const ArchivedValue& value) = 0;
};

// A keyed archive read where it stands. In its property list `$top` has the number of the root
// object in the array `$objects`; an object there is a plain value or a dictionary of the object's
// keys, with the number of its class under `$class`. Number 0 is nil.
//
// Objects refer to each other by number, so an archive may hold one that contains itself. Every
// circle of references has one that leads to a number not greater than that of the object it
// stands in; such a reference, where it closes a circle, reads as nil. What is read is therefore
// the same wherever reading begins, and ends. (Numbers ascend along the references of an archive
// but for shared objects, so there is nearly never anything to look for.)
//
// Borrows the bytes and keeps nothing but a few remembered names, whatever is read. Every look,
// step and copy is charged to the budget of the message that the archive belongs to; when that is
// used up, everything reads as nil. Any thread.
class ArchiveReader {
 public:
  // An object with more keys reads as nil. Every look at an object looks through its keys, and
  // nothing keeps an archive from referring to one object a million times.
  static constexpr std::size_t kMaximumKeys = 256;
  // How many names of a class and its ancestors are looked at, and how long they may be.
  static constexpr std::size_t kMaximumClassNames = 32;
  static constexpr std::size_t kMaximumClassNameLength = 256;
  // A URL holds its text resolved, so that a long base with many short URLs would be large.
  static constexpr std::size_t kMaximumBaseLength = 16384;
  static constexpr int kMaximumBases = 64;

  // `maker` makes the objects that a view of this archive is asked for. It and the budget outlive
  // the reader.
  ArchiveReader(ByteView archive, ArchivedValueMaker& maker, ReadingBudget& budget);
  ~ArchiveReader();
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // nil when the bytes are not a keyed archive.
  ArchivedValue root() const { return root_; }
  // How many objects the archive says it has, number 0 included.
  std::uint32_t objectCount() const { return objects_.count; }
  const BinaryPropertyList& list() const { return list_; }
  ArchivedValueMaker& maker() const { return *maker_; }
  ReadingBudget& budget() const { return *budget_; }

  // What the value is. Of a class of the ClassTable it is an Archivable, whether or not one can be
  // made of it.
  ArchivedContent content(const ArchivedValue& value) const;

  // The value at `index` of the elements, keys or values that are `item` of the object `parent`.
  ArchivedValue element(const ArchivedValue& parent, const BinaryPropertyList::Item& item,
                        std::size_t index) const {
    return follow(parent.uid, list_.number(item, index));
  }
  // The value under a key of an object; nil when absent.
  ArchivedValue field(const ArchivedValue& object, std::string_view key) const;
  // The property-list value that is itself, or that refers to, the object `number`, as it is seen
  // from the object `parentUid`.
  ArchivedValue follow(std::uint32_t parentUid, std::uint32_t number) const;

  // Calls `visit` with each name of the object's class and its ancestors, until it returns false.
  void forEachClassName(const ArchivedValue& object,
                        FunctionRef<bool(const std::string& name)> visit) const;

  // The object with that number, whatever leads there.
  ArchivedValue object(std::uint32_t uid) const { return {uid, objectItem(uid).offset}; }
  BinaryPropertyList::Item objectItem(std::uint32_t uid) const {
    return uid < objects_.count ? list_.item(list_.number(objects_, uid))
                                : BinaryPropertyList::Item();
  }
  // Whether the object can hold others, and so a circle; a plain or boxed value cannot.
  bool isContainer(const BinaryPropertyList::Item& item) const;

  ObjectView view(const ArchivedValue& value) const {
    return value.offset == 0 ? ObjectView() : ObjectView(*this, value);
  }

  // The string, data, number or date; nil for anything else.
  Object plainObject(const ArchivedContent& content) const;
  // The number; nil for anything else. Never allocates.
  Object number(const ArchivedContent& content) const;
  // The text of a string as UTF-8; "" for anything else.
  std::string string(const ArchivedContent& content) const;
  // The bytes of data. Borrowed from the archive; empty for anything else.
  ByteView data(const ArchivedContent& content) const;
  // The same for who reads an archive there: that is charged for what is read of it.
  ByteView nestedArchive(const ArchivedContent& content) const;
  // How many elements or entries a container has as it stands; 0 for anything else.
  std::size_t size(const ArchivedContent& content) const;
  // Whether this is a string of exactly this text.
  bool isEqualToString(const ArchivedContent& content, std::string_view text) const;
  // The URL, made anew; absent for anything else.
  std::optional<URL> url(const ArchivedValue& value) const { return url(value, 0); }
  // The URL of an archived text. Absent when it is invalid, or relative to a very long one.
  std::optional<URL> makeUrl(const ArchivedContent& text, const std::optional<URL>& base) const;

 private:
  // The keys of an object that are looked for all the time.
  enum class Key : std::uint8_t { OfClass, OfObjects, OfKeys, OfRelative, OfBase, Other };
  // What a class is, in one byte: a position in kArchiveClasses, or one of these.
  enum : std::uint8_t { kRegistered = 0xFD, kOpaque = 0xFE, kNoClass = 0xFF };
  struct Fields;

  // A few numbers, each with a byte that is known about it. The first thread to find it enters it;
  // two threads can only enter the same.
  class Memory {
   public:
    std::optional<std::uint8_t> find(std::uint32_t number) const;
    void enter(std::uint32_t number, std::uint8_t known) const;

   private:
    static constexpr std::size_t kSize = 32;
    mutable std::array<std::atomic<std::uint64_t>, kSize> entries_{};
  };

  std::optional<URL> url(const ArchivedValue& value, int bases) const;
  Fields fields(const BinaryPropertyList::Item& object) const;
  Key key(std::uint32_t number) const;
  std::uint8_t classOf(const Fields& fields) const;
  // What is kept of an object of that class; Opaque for one that is none of ours.
  Object::Kind kindOf(const Fields& fields) const;
  std::uint8_t findClass(std::uint32_t classUid) const;
  void forEachNameOfClass(std::uint32_t classUid,
                          FunctionRef<bool(const std::string& name)> visit) const;
  std::optional<std::string> className(const BinaryPropertyList::Item& item) const;
  ArchivedContent boxedContent(const ArchivedContent& content,
                               const BinaryPropertyList::Item& object) const;
  bool closesCircle(std::uint32_t parentUid, std::uint32_t uid) const;
  // Whether the object is a collection of a few plain values at most or a URL without a base, so
  // that no circle leads through it.
  bool isPlainlyFlat(const BinaryPropertyList::Item& object) const;

  // Charges a look through the keys of an object.
  void chargeKeys(const BinaryPropertyList::Item& object) const {
    constexpr std::uint64_t kKey = 4;
    budget_->charge(kKey * object.count);
  }

  ArchivedValueMaker* maker_;
  ReadingBudget* budget_;
  BinaryPropertyList list_;
  BinaryPropertyList::Item objects_;
  ArchivedValue root_;
  Memory keys_;
  Memory classes_;
  mutable std::once_flag cyclesOnce_;
  mutable std::unique_ptr<const ArchiveCycles> cycles_;  // made when it is first needed
};

}  // namespace kelpie
