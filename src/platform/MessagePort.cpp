#include "platform/MessagePort.h"

#include "archive/KeyedArchiver.h"

namespace kelpie {

std::optional<Bytes> MessagePorts::archivedMessage(const Object& message) const {
  return KeyedArchiver::archivedData(message);
}

}  // namespace kelpie
