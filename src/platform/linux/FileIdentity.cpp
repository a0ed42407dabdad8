#include "platform/linux/FileIdentity.h"

#include <array>
#include <cstdint>

namespace kelpie {

FileIdentifier fileIdentifier(dev_t device, ino_t inode) {
  std::array<std::uint8_t, 16> bytes{};
  for (unsigned i = 0; i < 8; ++i) {
    bytes.at(i) = static_cast<std::uint8_t>(std::uint64_t{device} >> (8 * i));
    bytes.at(8 + i) = static_cast<std::uint8_t>(std::uint64_t{inode} >> (8 * i));
  }
  return FileIdentifier(ByteView(bytes));
}

}  // namespace kelpie
