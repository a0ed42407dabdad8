#include "linux/hostlink/HostConnection.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace kelpie {
namespace {

// How much is read before other sources of the main loop get their turn.
constexpr std::size_t kReadSize = std::size_t{64} << 10U;

// Whether a call would only have had to wait, or be made again.
bool isPassing(int error) { return error == EAGAIN || error == EWOULDBLOCK || error == EINTR; }

// Why a connection ends with `error`; a host that has closed its end just left.
std::string reasonOf(int error) {
  return error == EPIPE || error == ECONNRESET ? "" : std::strerror(error);
}

}  // namespace

HostConnection::HostConnection(MainLoop& loop, UniqueFd socket, std::size_t maximumLine,
                               Handlers handlers)
    : loop_(loop),
      socket_(std::move(socket)),
      lines_(maximumLine),
      handlers_(std::move(handlers)),
      reading_(loop_.watch(socket_.get(), G_IO_IN, [this](GIOCondition) { read(); })) {}

void HostConnection::read() {
  std::array<char, kReadSize> buffer{};
  const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
  if (size < 0) {
    if (!isPassing(errno)) endSoon(reasonOf(errno));
    return;
  }
  if (size == 0) return endSoon("");
  const auto onLine = [this](std::string_view line) {
    const bool goesOn = handlers_.onLine(line);
    if (!goesOn) closing_ = true;
    // A host that was cut off meanwhile is not listened to any more.
    return goesOn && !ending_;
  };
  const auto onOverlong = [this] {
    handlers_.onOverlong();
    return !ending_;
  };
  lines_.feed({buffer.data(), static_cast<std::size_t>(size)}, onLine, onOverlong);
  if (closing_) {
    reading_.reset();
    if (waiting_.empty()) endSoon("");
  }
}

void HostConnection::send(std::string bytes) {
  thread_.check();
  if (ending_ || bytes.empty()) return;
  waitingBytes_ += bytes.size();
  waiting_.push_back(std::move(bytes));
  write();
  if (waitingBytes_ > kMaximumWaiting) endSoon("it does not read what it is sent");
}

void HostConnection::write() {
  while (!waiting_.empty() && !ending_) {
    const std::string& next = waiting_.front();
    const ssize_t size =
        ::send(socket_.get(), next.data() + written_, next.size() - written_, MSG_NOSIGNAL);
    if (size < 0) {
      if (!isPassing(errno)) return endSoon(reasonOf(errno));
      if (!writing_)
        writing_ = loop_.watch(socket_.get(), G_IO_OUT, [this](GIOCondition) { write(); });
      return;
    }
    written_ += static_cast<std::size_t>(size);
    waitingBytes_ -= static_cast<std::size_t>(size);
    if (written_ == next.size()) {
      waiting_.pop_front();
      written_ = 0;
    }
  }
  if (waiting_.empty()) {
    writing_.reset();
    if (closing_) endSoon("");
  }
}

void HostConnection::endSoon(std::string reason) {
  if (ending_) return;
  reading_.reset();
  writing_.reset();
  waiting_.clear();
  endReason_ = std::move(reason);
  // Not at once: the caller of send() still holds on to the connection.
  ending_ = loop_.callAfter(std::chrono::milliseconds(0), [this] { end(); });
}

void HostConnection::end() {
  // The handler may destroy the connection, and with it the function being called.
  const auto onEnd = handlers_.onEnd;
  const std::string reason = endReason_;
  onEnd(reason);
}

}  // namespace kelpie
