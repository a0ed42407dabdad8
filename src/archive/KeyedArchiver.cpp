#include "archive/KeyedArchiver.h"

#include "archive/ArchiveWriter.h"

namespace kelpie {

std::optional<Bytes> KeyedArchiver::archivedData(const Object& root) {
  return ArchiveWriter().archivedData(root);
}

}  // namespace kelpie
