#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "linux/base/MainLoop.h"
#include "linux/base/UnixListener.h"
#include "platform/MessagePort.h"
#include "platform/linux/PortConnection.h"

namespace kelpie {

// A named port as a listening socket. Any number of senders, each with frames of its own order; a
// sender that breaks the rules loses its connection, the others and the port live on.
class LinuxLocalMessagePort final : public LocalMessagePort {
 public:
  // Connections beyond these are closed at once.
  static constexpr std::size_t kMaximumConnections = 256;

  // Null when the socket cannot be made at `path`. `loop` outlives the port.
  static std::unique_ptr<LinuxLocalMessagePort> create(MainLoop& loop, const std::string& path,
                                                       const std::string& name, Handler handler);

  // Closes the connections of the process.
  void dropMessagesOf(std::int32_t pid) override;

 private:
  LinuxLocalMessagePort(MainLoop& loop, std::string name, Handler handler);
  void add(UniqueFd socket);

  MainLoop& loop_;
  std::string name_;
  Handler handler_;
  std::set<std::shared_ptr<PortConnection>> connections_;
  std::unique_ptr<UnixListener> listener_;
};

}  // namespace kelpie
