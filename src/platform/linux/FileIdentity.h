#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "foundation/FileIdentifier.h"

namespace kelpie {

// The identifier of a file of this system: device number and inode number, each unsigned, 64 bits,
// little-endian. Any thread.
FileIdentifier fileIdentifier(dev_t device, ino_t inode);

inline FileIdentifier fileIdentifier(const struct stat& status) {
  return fileIdentifier(status.st_dev, status.st_ino);
}

}  // namespace kelpie
