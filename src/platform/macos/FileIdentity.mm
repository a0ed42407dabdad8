#include "platform/macos/FileIdentity.h"

#include "foundation/KeyedUnarchiver.h"
#include "foundation/Object.h"
#include "platform/macos/Objects.h"

namespace kelpie {
namespace {

NSData* archiveOf(id identifier) {
  @try {
    NSError* error = nil;
    return [NSKeyedArchiver archivedDataWithRootObject:identifier
                                 requiringSecureCoding:NO
                                                 error:&error];
  } @catch (NSException*) {
    return nil;  // a class that does not archive
  }
}

}  // namespace

std::optional<FileIdentifier> fileIdentifierOf(id identifier) {
  if (identifier == nil) return std::nullopt;
  if ([identifier isKindOfClass:[NSData class]]) return FileIdentifier(bytesOfData(identifier));
  NSData* const archive = archiveOf(identifier);
  return FileIdentifier::fromObject(KeyedUnarchiver::unarchiveObject(bytesOfData(archive)));
}

}  // namespace kelpie
