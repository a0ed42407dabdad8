#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "linux/base/MainLoop.h"
#include "platform/MessagePort.h"

namespace kelpie {

// Ports as sockets in one folder, each named as its port.
class LinuxMessagePorts final : public MessagePorts {
 public:
  // `folder` exists and is this user's alone (RuntimeDirectory). `loop` outlives the ports.
  LinuxMessagePorts(MainLoop& loop, std::string folder);

  std::unique_ptr<LocalMessagePort> createLocal(std::string_view name,
                                                LocalMessagePort::Handler handler) override;
  std::shared_ptr<RemoteMessagePort> createRemote(std::string_view name) override;

  // Takes away what processes that were killed have left behind: the sockets whose names begin with
  // `prefix` and that nobody listens on. To be called when no second process can be about to make
  // one of them.
  void removeStale(std::string_view prefix) const;

 private:
  MainLoop& loop_;
  std::string folder_;
};

}  // namespace kelpie
