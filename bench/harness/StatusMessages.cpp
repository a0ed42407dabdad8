#include "harness/StatusMessages.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "archive/KeyedArchiver.h"

namespace kelpie {

Object identifierOfNoFile(int index) {
  Bytes bytes(16, 0xEE);
  for (std::size_t i = 0; i < 4; ++i)
    bytes[8 + i] = static_cast<std::uint8_t>(static_cast<unsigned>(index) >> (8 * i));
  return Object(std::move(bytes));
}

Dictionary statusInfo(Dictionary entries, Objects dirtyUrls) {
  return {
      {"KPRepositoryState", 0},
      {"KPRepositoryStatus", Object(std::move(entries)).mutableCopy()},
      {"KPStatusDirtyURLs", std::move(dirtyUrls)},
      {"KPStatusIgnoredURLs", Objects{}},
      {"KPStatusDeletedURLs", Objects{}},
      {"KPStatusNewCount", 0},
  };
}

std::shared_ptr<const Bytes> archived(const Object& message) {
  return std::make_shared<const Bytes>(KeyedArchiver::archivedData(message).value());
}

}  // namespace kelpie
