#include "archive/KeyedUnarchiver.h"

#include <utility>

#include "archive/ArchiveDecoder.h"
#include "archive/DecodingLimits.h"
#include "archive/OpenedArchive.h"

namespace kelpie {

Object KeyedUnarchiver::unarchiveObject(ByteView archive) {
  ReadingBudget budget(archive.size());
  DecodingLimits limits(budget);
  return ArchiveDecoder(archive, limits).root();
}

Object KeyedUnarchiver::open(std::shared_ptr<const Bytes> archive, std::uint64_t maximumUnits) {
  if (archive == nullptr) return {};
  const auto opened = std::make_shared<OpenedArchive>(std::move(archive), maximumUnits);
  return opened->objectOf(opened->reader().root());
}

}  // namespace kelpie
