#include "platform/linux/LinuxLocalMessagePort.h"

#include <utility>

namespace kelpie {

std::unique_ptr<LinuxLocalMessagePort> LinuxLocalMessagePort::create(MainLoop& loop,
                                                                     const std::string& path,
                                                                     const std::string& name,
                                                                     Handler handler) {
  std::unique_ptr<LinuxLocalMessagePort> port(
      new LinuxLocalMessagePort(loop, name, std::move(handler)));
  auto listener = UnixListener::create(
      loop, path, [owner = port.get()](UniqueFd socket) { owner->add(std::move(socket)); });
  if (!listener) {
    loop.log().write(listener.problem());
    return nullptr;
  }
  port->listener_ = *std::move(listener);
  return port;
}

LinuxLocalMessagePort::LinuxLocalMessagePort(MainLoop& loop, std::string name, Handler handler)
    : loop_(loop), name_(std::move(name)), handler_(std::move(handler)) {}

void LinuxLocalMessagePort::dropMessagesOf(std::int32_t pid) {
  std::erase_if(connections_,
                [pid](const auto& connection) { return connection->sender() == pid; });
}

void LinuxLocalMessagePort::add(UniqueFd socket) {
  if (connections_.size() >= kMaximumConnections) {
    loop_.log().write("port " + name_ + ": too many connections, one more closed");
    return;
  }
  auto connection = std::make_shared<PortConnection>(
      loop_, name_, std::move(socket), handler_,
      [this](const std::shared_ptr<PortConnection>& ended) { connections_.erase(ended); });
  connections_.insert(connection);
  connection->start();
}

}  // namespace kelpie
