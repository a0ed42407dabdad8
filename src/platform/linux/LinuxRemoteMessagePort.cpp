#include "platform/linux/LinuxRemoteMessagePort.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "linux/base/UnixSocket.h"

namespace kelpie {
namespace {

// The rest of a head and a payload of which `sent` bytes are out.
std::array<iovec, 2> restOf(const MessageFrame::Head& head, const Bytes& message,
                            std::size_t sent) {
  const std::size_t headSent = std::min(sent, head.size());
  const std::size_t messageSent = sent - headSent;
  // sendmsg() does not change what it sends, whatever its type says.
  return {
      {{const_cast<std::uint8_t*>(head.data()) + headSent, head.size() - headSent},
       {const_cast<std::uint8_t*>(message.data()) + messageSent, message.size() - messageSent}}};
}

}  // namespace

std::shared_ptr<LinuxRemoteMessagePort> LinuxRemoteMessagePort::connect(
    std::string path, std::uint64_t longestPayload) {
  UnixSocket::Result result = UnixSocket::connect(path);
  if (!result.socket) return nullptr;
  return std::shared_ptr<LinuxRemoteMessagePort>(
      new LinuxRemoteMessagePort(std::move(path), std::move(result.socket), longestPayload));
}

LinuxRemoteMessagePort::LinuxRemoteMessagePort(std::string path, UniqueFd socket,
                                               std::uint64_t longestPayload)
    : path_(std::move(path)), longestPayload_(longestPayload), socket_(std::move(socket)) {}

std::int32_t LinuxRemoteMessagePort::send(std::int32_t id, const Bytes& message,
                                          std::chrono::milliseconds sendTimeout,
                                          std::chrono::milliseconds /*receiveTimeout*/) {
  const Deadline deadline = std::chrono::steady_clock::now() + sendTimeout;
  {
    MutexLock lock(mutex_);
    const auto isFree = [this]() KELPIE_REQUIRES(mutex_) { return !busy_; };
    if (!free_.waitUntil(lock, deadline, isFree)) return kSendTimeout;
    busy_ = true;
  }
  const std::int32_t status = sendFrame(id, message, deadline);
  {
    const MutexLock lock(mutex_);
    busy_ = false;
  }
  free_.notifyOne();
  return status;
}

std::int32_t LinuxRemoteMessagePort::sendFrame(std::int32_t id, const Bytes& message,
                                               Deadline deadline) {
  if (closed_) return kIsInvalid;
  if (message.size() > longestPayload_) return kTransportError;
  if (!socket_) socket_ = UnixSocket::connect(path_).socket;
  if (!socket_) return kIsInvalid;
  const MessageFrame::Head head = MessageFrame{id, message.size()}.toBytes();
  const std::size_t size = head.size() + message.size();
  for (std::size_t sent = 0; sent < size;) {
    std::array<iovec, 2> rest = restOf(head, message, sent);
    msghdr call = {};
    call.msg_iov = rest.data();
    call.msg_iovlen = rest.size();
    const ssize_t count = ::sendmsg(socket_.get(), &call, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
      continue;
    }
    const int error = errno;
    if (error == EINTR || (error == EAGAIN && waitUntilWritable(deadline))) continue;
    closed_ = error == EPIPE || error == ECONNRESET || error == ENOTCONN;
    if (sent > 0 || closed_) socket_.reset();
    if (closed_) return kIsInvalid;
    return error == EAGAIN ? kSendTimeout : kTransportError;
  }
  return kSuccess;
}

// False when it is too late.
bool LinuxRemoteMessagePort::waitUntilWritable(Deadline deadline) const {
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd ready = {socket_.get(), POLLOUT, 0};
    const int count = ::poll(&ready, 1, static_cast<int>(std::max<long>(left.count(), 0)));
    if (count >= 0 || errno != EINTR) return count > 0;
  }
}

}  // namespace kelpie
