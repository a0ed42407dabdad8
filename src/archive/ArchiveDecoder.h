#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "archive/ArchiveReader.h"
#include "archive/DecodingLimits.h"
#include "foundation/Bytes.h"
#include "foundation/Object.h"
#include "foundation/ObjectComparison.h"
#include "foundation/OpaqueObject.h"

namespace kelpie {

// Makes whole objects of a keyed archive. An object that is referred to twice is made once, and so
// are strings and data that stand in the bytes once, so what is made is in proportion to the bytes
// of an honest archive; what a dishonest one asks for beyond that makes everything nil. One
// reading, on one thread.
class ArchiveDecoder : public ArchivedValueMaker {
 public:
  // Borrows both; the archive is `limits.nesting` levels deep.
  ArchiveDecoder(ByteView archive, DecodingLimits& limits);

  // The root object; nil when there is none, and when the archive nests too deep.
  Object root();
  // The value of a place that `reader()` told. Of no use when isRefused() afterwards.
  Object objectOf(const ArchivedValue& value) override;
  // The root of an archive that stands in this one. nil when it does not decode.
  Object unarchive(ByteView archive);

  // Whether something was too deep: what held it is incomplete, and so is what will be made.
  bool isTooDeep() const { return isTooDeep_; }
  // Whether it was that, or more was asked for than the bytes can hold.
  bool isRefused() const {
    return isTooDeep_ || limits_.budget.isUsedUp() || comparison_.isExhausted();
  }
  const ArchiveReader& reader() const { return reader_; }

 private:
  Object text(const ArchivedValue& value, const ArchivedContent& content);
  Object sharedObject(const ArchivedValue& value, const ArchivedContent& content);
  Object make(const ArchivedValue& value, const ArchivedContent& content);
  Objects elements(const ArchivedValue& value, const BinaryPropertyList::Item& item);
  Object makeSet(const ArchivedValue& value, const ArchivedContent& content);
  Object makeDictionary(const ArchivedValue& value, const ArchivedContent& content);
  Object makeUrl(const ArchivedValue& value);
  Object makeError(const ArchivedValue& value);
  Object makeArchivable(const ArchivedValue& value);
  Object makeOpaque(const ArchivedValue& value, const ArchivedContent& content);
  OpaqueObject::Field opaqueField(const ArchivedValue& value,
                                  const BinaryPropertyList::Item& object, std::size_t index);

  DecodingLimits& limits_;
  ArchiveReader reader_;
  ObjectComparison comparison_;
  bool isTooDeep_ = false;
  std::unordered_map<std::uint32_t, Object> objects_;  // by number
  std::unordered_map<std::uint32_t, Object> texts_;    // strings and data, by where they stand
};

}  // namespace kelpie
