#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/Bytes.h"
#include "foundation/FunctionRef.h"
#include "foundation/Object.h"

namespace kelpie {

// What an Archivable writes its keys to: one object of a keyed archive that is being made.
class KeyedEncoder {
 public:
  virtual ~KeyedEncoder() = default;

  // Numbers stand inline in the object, objects by reference; nil is a reference to "$null".
  virtual void encodeInteger(std::string_view key, std::int64_t value) = 0;
  virtual void encodeBool(std::string_view key, bool value) = 0;
  virtual void encodeObject(std::string_view key, const Object& value) = 0;
  // The archive of `root` as data of its own; absent where KeyedArchiver returns none, and beyond
  // the depth to which archives may nest.
  virtual std::optional<Bytes> archivedData(const Object& root) = 0;
};

// What an Archivable is made from: one object of a keyed archive that is being read. Reading draws
// from the budget of the message that holds the archive. Once that is used up everything reads as
// absent, and the Archivable is discarded.
class KeyedDecoder {
 public:
  virtual ~KeyedDecoder() = default;

  // A number inline, by reference or boxed; 0 or NO for a missing key or anything else.
  virtual std::int64_t decodeInteger(std::string_view key) const = 0;
  virtual bool decodeBool(std::string_view key) const = 0;
  // nil for a missing key and for what does not decode. A text or data counts as copied.
  virtual Object decodeObject(std::string_view key) const = 0;
  // The elements of an array; none for a missing key and for a value of another kind. The same
  // element may come any number of times: the caller charges what it keeps of each beyond 64 bytes.
  virtual void decodeElements(std::string_view key,
                              FunctionRef<void(const Object& element)> visit) const = 0;
  // Charges the message's budget for `byteCount` bytes that are kept. False once it is used up.
  virtual bool charge(std::uint64_t byteCount) const = 0;
  // The root objects of an array of archives (data); nil for an archive that does not decode or is
  // nested deeper than KeyedUnarchiver::kMaximumNesting. Elements of other kinds are left out.
  virtual void decodeNestedRoots(std::string_view key,
                                 FunctionRef<void(const Object& root)> visit) const = 0;
};

}  // namespace kelpie
