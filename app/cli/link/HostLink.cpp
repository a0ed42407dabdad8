#include "cli/link/HostLink.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <span>
#include <utility>

#include "linux/base/UnixSocket.h"

namespace kelpie::cli {
namespace {

constexpr std::chrono::seconds kSendLimit(10);

}  // namespace

std::unique_ptr<HostLink> HostLink::connect(const std::string& path, int& error) {
  UnixSocket::Result result = UnixSocket::connect(path);
  error = result.error;
  if (!result.socket) return nullptr;
  if (UnixSocket::peerUser(result.socket.get()) != ::getuid()) {
    error = EPERM;
    return nullptr;
  }
  return std::unique_ptr<HostLink>(new HostLink(std::move(result.socket)));
}

bool HostLink::send(std::string_view bytes) {
  thread_.check();
  const auto deadline = Clock::now() + kSendLimit;
  while (!bytes.empty()) {
    const ssize_t size = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(size));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return false;
    pollfd wait = {socket_.get(), POLLOUT, 0};
    if (::poll(&wait, 1, pollTimeout(deadline)) == 0) return false;
  }
  return true;
}

HostLink::Event HostLink::receive(std::string& bytes, Clock::time_point deadline,
                                  std::initializer_list<int> others) {
  thread_.check();
  // poll() passes over what stands for nothing.
  std::array<pollfd, 3> waits = {{{socket_.get(), POLLIN, 0}, {-1, POLLIN, 0}, {-1, POLLIN, 0}}};
  const std::span<pollfd> extra = std::span(waits).subspan(1);
  for (std::size_t i = 0; i < others.size() && i < extra.size(); ++i)
    extra[i].fd = others.begin()[i];
  while (true) {
    const int ready = ::poll(waits.data(), waits.size(), pollTimeout(deadline));
    if (ready == 0) return Event::Quiet;
    if (ready < 0) continue;  // a signal
    const auto isReady = [](const pollfd& wait) { return wait.revents != 0; };
    if (std::ranges::any_of(extra, isReady)) return Event::Other;
    std::array<char, 65536> piece{};
    const ssize_t size = ::recv(socket_.get(), piece.data(), piece.size(), 0);
    if (size > 0) {
      bytes.assign(piece.data(), static_cast<std::size_t>(size));
      return Event::Bytes;
    }
    if (size == 0 || (errno != EAGAIN && errno != EINTR)) return Event::Ended;
  }
}

}  // namespace kelpie::cli
