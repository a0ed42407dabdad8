#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "archive/ArchiveDecoder.h"
#include "archive/ArchiveReader.h"
#include "archive/DecodingLimits.h"
#include "archive/ReadingBudget.h"
#include "foundation/Bytes.h"
#include "foundation/Mutex.h"
#include "foundation/Object.h"

namespace kelpie {

// An archive that objects are read from on demand: the state that its parts share and keep alive.
// URLs, errors, records and the like are made once and remembered, so that they are the same object
// wherever they are met. All that is read draws from one budget. Any thread.
class OpenedArchive : public ArchivedValueMaker,
                      public std::enable_shared_from_this<OpenedArchive> {
 public:
  OpenedArchive(std::shared_ptr<const Bytes> archive, std::uint64_t maximumUnits);

  const ArchiveReader& reader() const { return reader_; }

  // A container stays a part of this archive; any other object is made. nil for a value that does
  // not decode.
  Object objectOf(const ArchivedValue& value) override;

  // The container of a part, made as a whole; nil when it nests too deep.
  Object whole(const ArchivedValue& value);

 private:
  std::shared_ptr<const Bytes> bytes_;
  ReadingBudget budget_;
  ArchiveReader reader_;
  Mutex mutex_;
  DecodingLimits limits_ KELPIE_GUARDED_BY(mutex_);
  std::optional<ArchiveDecoder> decoder_ KELPIE_GUARDED_BY(mutex_);  // made when first needed
};

}  // namespace kelpie
