#include "macos/mac/PortReceiver.h"

#include <cstdio>

#include "macos/MainLoop.h"
#include "platform/macos/MacMessagePorts.h"

namespace kelpie {

int receiveFromPort(const std::string& name) {
  bool isOver = false;
  const auto port = MacMessagePorts().createLocal(
      name, [&](std::int32_t id, const std::shared_ptr<const Bytes>& message,
                const LocalMessagePort::Completion& done) {
        const std::string text(message->begin(), message->end());
        std::printf("%d: %s\n", id, text.c_str());
        std::fflush(stdout);
        isOver = id == 0;
        done();
      });
  if (port == nullptr) return 1;
  return runUntil([&] { return isOver; }) ? 0 : 2;
}

}  // namespace kelpie
