#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "platform/MessagePort.h"

namespace kelpie {

// CoreFoundation's message ports.
class MacMessagePorts final : public MessagePorts {
 public:
  std::unique_ptr<LocalMessagePort> createLocal(std::string_view name,
                                                LocalMessagePort::Handler handler) override;
  std::shared_ptr<RemoteMessagePort> createRemote(std::string_view name) override;
  // By the platform's archiver, so that a chosen item is archived as AppKit archives its own. A
  // message with a value that the platform has no object for (a reference record) is written by the
  // core's archiver.
  std::optional<Bytes> archivedMessage(const Object& message) const override;
};

}  // namespace kelpie
