#include "platform/linux/PortConnection.h"

#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <utility>

#include "linux/base/UnixSocket.h"

namespace kelpie {
namespace {

// What one event reads at most, so that a long message does not keep the others waiting.
constexpr std::size_t kReadAtOnce = std::size_t{1} << 20;
// The first room for a payload. More is made as the bytes come in, whatever the head claims.
constexpr std::size_t kFirstRoom = std::size_t{1} << 16;

}  // namespace

// The wait for the completion of one message. Ends when it is reported, or when everybody who could
// report it is gone.
class PortConnection::Turn {
 public:
  Turn(std::weak_ptr<PortConnection> connection, std::shared_ptr<SerialQueue> mainQueue)
      : connection_(std::move(connection)), mainQueue_(std::move(mainQueue)) {}
  ~Turn() { end(); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  void end() {
    if (ended_.exchange(true)) return;
    mainQueue_->post([weak = connection_] {
      if (const auto connection = weak.lock()) connection->start();
    });
  }

 private:
  std::weak_ptr<PortConnection> connection_;
  std::shared_ptr<SerialQueue> mainQueue_;
  std::atomic<bool> ended_ = false;
};

PortConnection::PortConnection(MainLoop& loop, std::string portName, UniqueFd socket,
                               LocalMessagePort::Handler handler, EndHandler onEnd)
    : loop_(loop),
      portName_(std::move(portName)),
      socket_(std::move(socket)),
      handler_(std::move(handler)),
      onEnd_(std::move(onEnd)) {}

void PortConnection::start() {
  source_ = loop_.watch(socket_.get(), G_IO_IN, [this](GIOCondition) {
    const auto alive = shared_from_this();
    read();
  });
}

std::optional<std::int32_t> PortConnection::sender() const {
  return UnixSocket::peerProcess(socket_.get());
}

void PortConnection::read() {
  if (headReceived_ < head_.size() && !readHead()) return;
  if (!readPayload()) return;
  handOn();
}

// Whether the head is there and is good.
bool PortConnection::readHead() {
  if (!receive(head_.data(), head_.size(), headReceived_) || headReceived_ < head_.size())
    return false;
  const auto frame = MessageFrame::fromBytes(head_);
  if (!frame) return end("a message with a wrong magic"), false;
  if (frame->length > MessageFrame::kLongestPayload)
    return end("a message that is too long"), false;
  frame_ = *frame;
  return true;
}

// Whether the payload is complete.
bool PortConnection::readPayload() {
  const auto length = static_cast<std::size_t>(frame_.length);
  if (payloadReceived_ == length) return true;
  if (payloadReceived_ == payload_.size())
    payload_.resize(std::min(length, std::max(kFirstRoom, 2 * payloadReceived_)));
  const std::size_t room = std::min(payload_.size(), payloadReceived_ + kReadAtOnce);
  return receive(payload_.data(), room, payloadReceived_) && payloadReceived_ == length;
}

// Reads into `bytes` from `received` on, up to `size`. False when the connection has ended.
bool PortConnection::receive(std::uint8_t* bytes, std::size_t size, std::size_t& received) {
  const ssize_t count = ::recv(socket_.get(), bytes + received, size - received, 0);
  if (count > 0) {
    received += static_cast<std::size_t>(count);
    return true;
  }
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return true;
  end(headReceived_ > 0 ? "a message that breaks off" : nullptr);
  return false;
}

void PortConnection::handOn() {
  source_.reset();
  auto message = std::make_shared<const Bytes>(std::exchange(payload_, {}));
  headReceived_ = 0;
  payloadReceived_ = 0;
  auto turn = std::make_shared<Turn>(weak_from_this(), loop_.queue());
  handler_(frame_.id, std::move(message), [turn] { turn->end(); });
}

void PortConnection::end(const char* problem) {
  source_.reset();
  if (problem != nullptr)
    loop_.log().write("port " + portName_ + ": " + problem + ", connection closed");
  onEnd_(shared_from_this());
}

}  // namespace kelpie
