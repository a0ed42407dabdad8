#include "platform/macos/FileIdentity.h"

#include "archive/KeyedUnarchiver.h"
#include "foundation/Object.h"
#include "platform/macos/Objects.h"

namespace kelpie {

std::optional<FileIdentifier> fileIdentifierOf(id identifier) {
  if (identifier == nil) return std::nullopt;
  if ([identifier isKindOfClass:[NSData class]]) return FileIdentifier(bytesOfData(identifier));
  NSData* const archive = nsArchive(identifier);
  return FileIdentifier::fromObject(KeyedUnarchiver::unarchiveObject(bytesOfData(archive)));
}

}  // namespace kelpie
