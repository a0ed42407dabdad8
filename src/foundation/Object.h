#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "foundation/Archivable.h"
#include "foundation/Bytes.h"
#include "foundation/FileIdentifier.h"
#include "foundation/FunctionRef.h"
#include "foundation/URL.h"

namespace kelpie {

class Dictionary;
class Object;
class OpenedArchive;
struct Error;
struct OpaqueObject;

using Objects = std::vector<Object>;

// The one dynamic value: what a message, a setting or an archive holds. Immutable and cheap to
// copy; big values are shared. Any thread.
//
// Reading is lenient: a value that is absent or of another class reads as nil, 0, NO or empty. A
// container that was opened in place (KeyedUnarchiver::open) is read from the archive's bytes on
// demand and keeps them alive. All reading of one archive draws from one ReadingBudget, so a value
// that is kept for later is kept as its whole().
class Object {
 public:
  enum class Kind : std::uint8_t {
    Absent,  // nil; "Nil" is a macro of Objective-C
    Boolean,
    Integer,
    Real,
    String,
    Data,
    Date,
    Url,
    Array,
    Set,
    Dictionary,
    Error,
    Archivable,  // a menu item, a reference record, a tree node: see as<T>()
    Opaque,      // of a class that nobody here knows; kept whole, so that it can be sent back
  };

  Object() = default;  // nil
  // Implicit, so that message dictionaries read like the messages they are.
  // NOLINTBEGIN(google-explicit-constructor)
  template <std::same_as<bool> T>
  Object(T value);
  template <std::integral T>
  requires(!std::same_as<T, bool>) Object(T value);
  Object(double value);
  Object(std::string text);  // UTF-8
  Object(std::string_view text);
  Object(const char* text);
  Object(Bytes data);
  Object(URL url);
  Object(const FileIdentifier& identifier);
  Object(Objects elements);
  Object(Dictionary entries);
  Object(Error error);
  Object(OpaqueObject object);
  Object(std::shared_ptr<const Archivable> object);  // null gives nil
  // NOLINTEND(google-explicit-constructor)
  // A set in the order of `elements`; duplicates are not looked for.
  static Object set(Objects elements);
  // Seconds since 2001-01-01 00:00 UTC.
  static Object date(double secondsSinceReferenceDate);
  // nil for an absent URL or identifier.
  static Object orNil(const std::optional<URL>& url);
  static Object orNil(const std::optional<FileIdentifier>& identifier);
  // The path as an archive holds it: a string, or data when it is not UTF-8.
  static Object path(std::string_view bytes);

  Kind kind() const;
  bool isNil() const { return kind() == Kind::Absent; }
  bool isNumber() const;  // Boolean, Integer or Real
  // A number below 0. False for an integer beyond the signed range, although integerValue() is
  // negative.
  bool isNegative() const;
  bool isString() const { return kind() == Kind::String; }
  bool isArray() const { return kind() == Kind::Array; }
  bool isDictionary() const { return kind() == Kind::Dictionary; }

  // Whether the value is of a mutable class (string, data, array, set, dictionary). Only the class
  // name in an archive depends on it.
  bool isMutable() const;
  // The same value as an instance of the mutable class.
  Object mutableCopy() const;

  // Numbers convert to each other as the platform's number class does: reals are cut towards zero
  // (and held to the range), integers keep their low bits. Anything else is NO or 0.
  bool boolValue() const;
  std::int64_t integerValue() const;
  std::uint64_t unsignedIntegerValue() const;
  std::uint16_t unsignedShortValue() const;
  double doubleValue() const;
  // The seconds from 2001-01-01 00:00 UTC to a date; 0 for anything else.
  double dateValue() const;

  // The text of a string, else "".
  std::string stringValue() const;
  std::optional<std::string> string() const;
  // The bytes of a path held as a string or as data; absent for anything else.
  std::optional<std::string> pathBytes() const;
  // Copies the bytes of data; absent for anything else.
  std::optional<Bytes> data() const;
  std::optional<URL> url() const;
  std::optional<Error> error() const;
  std::shared_ptr<const OpaqueObject> opaque() const;    // null for anything else
  std::shared_ptr<const Archivable> archivable() const;  // null for anything else
  // The menu item, record or node if it is a T, else null.
  template <class T>
  std::shared_ptr<const T> as() const {
    return std::dynamic_pointer_cast<const T>(archivable());
  }

  // How many elements or entries an array, set or dictionary has; 0 for anything else.
  std::size_t size() const;
  // An element of an array or set; nil beyond its end and for anything else.
  Object at(std::size_t index) const;
  // The value under a string key of a dictionary; nil when absent and for anything else.
  Object operator[](std::string_view key) const;
  template <std::same_as<Object> Key>
  Object operator[](const Key& key) const {
    return valueForKey(key);
  }
  // All elements of an array or set, all entries of a dictionary; empty for anything else.
  Objects elements() const;
  Dictionary dictionary() const;

  // What copies of the object share, and no other object does while they live: the identity of
  // what is not a plain number. Null for nil, numbers, dates and containers read in place.
  const void* sharedAddress() const;

  // Whether more was read of the opened archive that it belongs to than the archive's bytes can
  // hold. What was read since then is incomplete: the message repeats little very often and is best
  // dropped.
  bool isRefused() const;

  // The value read as a whole: this value itself, unless it is a container that is read in place.
  // nil when it nests too deep.
  Object whole() const;

  // Object equality of the platform: numbers by value whatever their width, strings, data and dates
  // by content, URLs by URL::isEqual, containers by content, errors by domain, code and user
  // information, records, nodes and menu items by identity. A mutable value equals an immutable
  // one. Nil equals nothing, not even nil. Values that nest beyond 256 levels, or take very many
  // comparisons, are unequal.
  bool isEqual(const Object& other) const;
  // Equal objects have equal hashes, but for URLs (see URL::hash).
  std::size_t hash() const;

  // One line for logs and failed tests, at most a few hundred characters.
  std::string description() const;

 private:
  friend class ArchiveDecoder;
  friend class ArchiveReader;
  friend class Dictionary;
  friend class ObjectComparison;
  friend class ObjectView;
  friend class OpenedArchive;

  struct Date {
    double seconds;
  };
  // A value that copies of the object share. Mutability is only the name of its class.
  template <class T>
  struct Shared {
    std::shared_ptr<const T> value;
    bool isMutable = false;
  };
  struct SetElements {
    Objects elements;
  };
  // An array, set or dictionary that is read where it stands in an opened archive.
  struct Part {
    std::shared_ptr<OpenedArchive> archive;
    std::uint32_t uid;  // its number there
    Kind kind;
    bool isMutable;
  };
  using Value =
      std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, Shared<std::string>,
                   Shared<Bytes>, Date, URL, Shared<Objects>, Shared<SetElements>,
                   Shared<Dictionary>, std::shared_ptr<const Error>,
                   std::shared_ptr<const Archivable>, std::shared_ptr<const OpaqueObject>, Part>;

  template <class T>
  const T* shared() const {
    const auto* found = std::get_if<Shared<T>>(&value_);
    return found != nullptr ? found->value.get() : nullptr;
  }
  static Object ofPart(Part part);
  Object valueForKey(const Object& key) const;
  const Part* part() const { return std::get_if<Part>(&value_); }
  // The elements of a built array or set; null for anything else.
  const Objects* builtElements() const;
  // Makes a value that nobody else has yet one of the mutable class.
  void setMutable();

  // hash() of a string object of this text.
  static std::size_t hashOfString(std::string_view text);

  // Unsigned only beyond the signed range, so that equal integers have one form.
  static Value integer(std::uint64_t value);

  Value value_;
};

template <std::same_as<bool> T>
Object::Object(T value) : value_(value) {}

template <std::integral T>
requires(!std::same_as<T, bool>) Object::Object(T value) {
  if constexpr (std::is_signed_v<T>)
    value_ = static_cast<std::int64_t>(value);
  else
    value_ = integer(value);
}

}  // namespace kelpie
