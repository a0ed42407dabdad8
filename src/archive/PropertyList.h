#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "foundation/Object.h"

namespace kelpie {

// Binary property lists ("bplist00") of plain values, as settings files and bookmarks hold them. A
// keyed archive is one too, but is read with KeyedUnarchiver. Any thread.
class PropertyList {
 public:
  // The value, whole. nil when `bytes` are no binary property list, are cut off, lie about counts
  // or offsets, hold themselves, nest deeper than 256 levels or have a key that is no string, with
  // which they could not be written again; a value of a kind that no property list here holds (a
  // UID, a set) is skipped.
  static Object read(ByteView bytes);

  // The property list of `value`: strings, data, numbers, dates, arrays and dictionaries with
  // string keys. Absent when the value is nil, holds anything else or nests too deep.
  static std::optional<Bytes> write(const Object& value);
};

}  // namespace kelpie
