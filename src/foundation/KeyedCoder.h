#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/Bytes.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"

namespace kelpie {

// What an Archivable writes its keys to: one object of a keyed archive that is being made.
class KeyedEncoder {
 public:
  virtual ~KeyedEncoder() = default;

  // Numbers stand inline in the object, objects by reference; nil is a reference to "$null".
  virtual void encodeInteger(std::string_view key, std::int64_t value) = 0;
  virtual void encodeBool(std::string_view key, bool value) = 0;
  virtual void encodeObject(std::string_view key, const Object& value) = 0;
  // The archive of `root` as data of its own; missing where KeyedArchiver would give nothing, and
  // beyond the depth that archives may be nested.
  virtual std::optional<Bytes> archivedData(const Object& root) = 0;
};

// What an Archivable is made from: one object of a keyed archive that is being read.
class KeyedDecoder {
 public:
  virtual ~KeyedDecoder() = default;

  virtual bool containsValueForKey(std::string_view key) const = 0;
  // A number inline, by reference or boxed; 0 or NO for a missing key or anything else.
  virtual std::int64_t decodeInteger(std::string_view key) const = 0;
  virtual bool decodeBool(std::string_view key) const = 0;
  // nil for a missing key and for what does not decode.
  virtual Object decodeObject(std::string_view key) const = 0;
  // The same where it stands in the archive, without a copy: for data that holds an archive. Valid
  // until the Archivable is made.
  virtual ObjectView decodeView(std::string_view key) const = 0;
  // The root object of an archive that stands as data inside this one; nil when it does not decode
  // or is nested deeper than KeyedUnarchiver::kMaximumNesting.
  virtual Object unarchiveObject(ByteView archive) const = 0;
};

}  // namespace kelpie
