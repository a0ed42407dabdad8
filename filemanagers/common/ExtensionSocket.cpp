#include "common/ExtensionSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "linux/base/UnixSocket.h"

namespace kelpie::filemanagers {

// -- Connecting -----------------------------------------------------------------------------------

int ExtensionSocket::open() {
  UnixSocket::Result result = UnixSocket::connect(path_);
  if (!result.socket) return result.error;
  if (UnixSocket::peerUser(result.socket.get()) != ::getuid()) return EPERM;
  socket_ = std::move(result.socket);
  unsent_.clear();
  session_.client().connected(Clock::now());
  return 0;
}

ExtensionSocket::Outcome ExtensionSocket::connect() {
  session_.client().connecting();
  error_ = open();
  if (error_ == 0) return Outcome::Connected;
  if (error_ == ENOENT || error_ == ECONNREFUSED) return Outcome::NobodyListens;
  session_.connectionFailed(Clock::now());
  return Outcome::Failed;
}

bool ExtensionSocket::connectAgain() {
  error_ = open();
  if (error_ != 0) session_.connectionFailed(Clock::now());
  return error_ == 0;
}

std::string ExtensionSocket::problem() const { return std::generic_category().message(error_); }

void ExtensionSocket::end() {
  if (!socket_) return;
  socket_.reset();
  unsent_.clear();
  hasMore_ = false;
  session_.ended(Clock::now());
}

// -- Bytes ----------------------------------------------------------------------------------------

bool ExtensionSocket::read() {
  const auto end = Clock::now() + kSlice;
  std::array<char, kReadSize> piece;  // NOLINT: filled before it is read
  while (true) {
    const ssize_t size = ::recv(socket_.get(), piece.data(), piece.size(), 0);
    if (size < 0) return errno == EAGAIN || errno == EINTR;
    if (size == 0) return false;
    const auto now = Clock::now();
    session_.received({piece.data(), static_cast<std::size_t>(size)}, now);
    if (session_.client().shouldClose()) return false;
    if (now >= end) return true;
  }
}

bool ExtensionSocket::write() {
  if (session_.client().shouldClose()) return false;
  const auto end = Clock::now() + kSlice;
  do {
    const std::string more = session_.client().takeOutput(kQuestions);
    hasMore_ = !more.empty();
    unsent_ += more;
    if (!send() || unsent_.size() > maximumUnsent_) return false;
  } while (hasMore_ && Clock::now() < end);
  return true;
}

bool ExtensionSocket::send() {
  std::size_t sent = 0;
  while (sent < unsent_.size()) {
    const ssize_t size =
        ::send(socket_.get(), unsent_.data() + sent, unsent_.size() - sent, MSG_NOSIGNAL);
    if (size > 0) {
      sent += static_cast<std::size_t>(size);
    } else if (errno == EAGAIN) {
      break;
    } else if (errno != EINTR) {
      return false;
    }
  }
  unsent_.erase(0, sent);
  return true;
}

bool ExtensionSocket::serveUntil(const std::function<bool()>& done,
                                 std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (!done()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (!socket_ || left.count() <= 0) return false;
    // What came before may have made the session say something.
    bool isOpen = write();
    pollfd wait = {socket_.get(), static_cast<short>(isFull() ? POLLIN | POLLOUT : POLLIN), 0};
    const auto pause = hasMore_ ? 0 : static_cast<int>(left.count());
    if (isOpen && ::poll(&wait, 1, pause) > 0 && (wait.revents & ~POLLOUT) != 0) isOpen = read();
    if (!isOpen) end();
  }
  return true;
}

}  // namespace kelpie::filemanagers
