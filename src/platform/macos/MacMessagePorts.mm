#include "platform/macos/MacMessagePorts.h"

#import <Foundation/Foundation.h>

#include "platform/macos/MacLocalMessagePort.h"
#include "platform/macos/MacRemoteMessagePort.h"
#include "platform/macos/Objects.h"

namespace kelpie {

std::unique_ptr<LocalMessagePort> MacMessagePorts::createLocal(std::string_view name,
                                                               LocalMessagePort::Handler handler) {
  return MacLocalMessagePort::create(name, std::move(handler));
}

std::shared_ptr<RemoteMessagePort> MacMessagePorts::createRemote(std::string_view name) {
  return MacRemoteMessagePort::create(name);
}

std::optional<Bytes> MacMessagePorts::archivedMessage(const Object& message) const {
  @autoreleasepool {
    id object = nsObject(message);
    if (object == nil) return MessagePorts::archivedMessage(message);
    NSData* const archive = nsArchive(object);
    return archive == nil ? std::nullopt : std::optional(bytesOfData(archive));
  }
}

}  // namespace kelpie
