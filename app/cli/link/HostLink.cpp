#include "cli/link/HostLink.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <span>
#include <utility>

#include "linux/base/UnixSocket.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

constexpr std::chrono::seconds kSendLimit(10);

// The object of a line; anything else when it is none.
json parse(const std::string& line) {
  bool tooDeep = false;
  // Answering false drops the value, so that a line of brackets costs no memory.
  const auto keep = [&tooDeep](int depth, json::parse_event_t event, json&) {
    const bool opens =
        event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
    if (opens && depth >= HostLink::kMaximumNesting) tooDeep = true;
    return !tooDeep;
  };
  json parsed = json::parse(line, keep, /*allow_exceptions=*/false);
  return tooDeep ? json() : parsed;
}

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

bool HostLink::send(const json& message) {
  const std::string line = message.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
  const auto deadline = Clock::now() + kSendLimit;
  std::string_view rest = line;
  while (!rest.empty()) {
    const ssize_t size = ::send(socket_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (size > 0) {
      rest.remove_prefix(static_cast<std::size_t>(size));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return false;
    pollfd wait = {socket_.get(), POLLOUT, 0};
    if (::poll(&wait, 1, pollTimeout(deadline)) == 0) return false;
  }
  return true;
}

HostLink::Event HostLink::receive(json& message, Clock::time_point deadline,
                                  std::initializer_list<int> others) {
  // poll() passes over what stands for nothing.
  std::array<pollfd, 3> waits = {{{socket_.get(), POLLIN, 0}, {-1, POLLIN, 0}, {-1, POLLIN, 0}}};
  const std::span<pollfd> extra = std::span(waits).subspan(1);
  for (std::size_t i = 0; i < others.size() && i < extra.size(); ++i)
    extra[i].fd = others.begin()[i];
  while (true) {
    if (take(message)) return Event::Message;
    const int ready = ::poll(waits.data(), waits.size(), pollTimeout(deadline));
    if (ready == 0) return Event::Quiet;
    if (ready < 0) continue;  // a signal
    const auto isReady = [](const pollfd& wait) { return wait.revents != 0; };
    if (std::ranges::any_of(extra, isReady)) return Event::Other;
    if (!read()) return take(message) ? Event::Message : Event::Ended;
  }
}

bool HostLink::read() {
  std::array<char, 65536> piece{};
  const ssize_t size = ::recv(socket_.get(), piece.data(), piece.size(), 0);
  if (size == 0) return false;
  if (size < 0) return errno == EAGAIN || errno == EINTR;
  lines_.feed(
      {piece.data(), static_cast<std::size_t>(size)},
      [this](std::string_view line) {
        arrived_.emplace_back(line);
        return true;
      },
      [this] {
        ++dropped_;
        return true;
      });
  return true;
}

bool HostLink::take(json& message) {
  while (!arrived_.empty()) {
    const std::string line = std::exchange(arrived_.front(), {});
    arrived_.pop_front();
    if (line.empty()) continue;
    message = parse(line);
    if (message.is_object()) return true;
    ++dropped_;
  }
  return false;
}

}  // namespace kelpie::cli
