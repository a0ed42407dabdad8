#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Bytes.h"
#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"
#include "platform/MessagePort.h"
#include "platform/linux/MessageFrame.h"

namespace kelpie {

// One sender's connection to a local port. It reads a frame, hands it on, and reads the next when
// that one is reported to be done; what the sender writes meanwhile waits in the socket. Bytes that
// are no frame end it with one log line. Main thread, but for the completions.
class PortConnection : public std::enable_shared_from_this<PortConnection> {
 public:
  using EndHandler = std::function<void(const std::shared_ptr<PortConnection>&)>;

  // `loop` outlives this. `onEnd` is called once when the sender is gone or was cut off.
  PortConnection(MainLoop& loop, std::string portName, UniqueFd socket,
                 LocalMessagePort::Handler handler, EndHandler onEnd);

  void start();
  // The process that connected; absent when the system does not say.
  std::optional<std::int32_t> sender() const;

 private:
  class Turn;

  void read();
  bool readHead();
  bool readPayload();
  bool receive(std::uint8_t* bytes, std::size_t size, std::size_t& received);
  void handOn();
  void end(const char* problem);

  MainLoop& loop_;
  std::string portName_;
  UniqueFd socket_;
  LocalMessagePort::Handler handler_;
  EndHandler onEnd_;
  std::unique_ptr<MainLoop::Source> source_;  // null while a message is being worked on
  MessageFrame::Head head_{};
  std::size_t headReceived_ = 0;
  MessageFrame frame_;
  Bytes payload_;
  std::size_t payloadReceived_ = 0;
};

}  // namespace kelpie
