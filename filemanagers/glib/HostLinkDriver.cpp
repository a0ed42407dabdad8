#include "glib/HostLinkDriver.h"

#include <glib-unix.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "glib/Guarded.h"
#include "linux/base/UnixSocket.h"

namespace kelpie::filemanagers {
namespace {

// Runs `call` when the source is ready, in the default context.
template <class Function>
GSourcePtr attach(GSource* source, Function call, gpointer data) {
  g_source_set_callback(source, G_SOURCE_FUNC(call), data, nullptr);
  g_source_attach(source, nullptr);
  return GSourcePtr(source);
}

}  // namespace

HostLinkDriver::HostLinkDriver(FileManagerSession& session, std::string socket, Starter starter,
                               std::size_t maximumUnsent)
    : session_(session),
      path_(std::move(socket)),
      starter_(std::move(starter)),
      maximumUnsent_(maximumUnsent) {}

HostLinkDriver::~HostLinkDriver() = default;

// -- Turns of the main loop -----------------------------------------------------------------------

void HostLinkDriver::wake() {
  if (wake_) return;
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  wake_ = attach(source, &HostLinkDriver::woken, this);
}

gboolean HostLinkDriver::woken(gpointer self) {
  auto* driver = static_cast<HostLinkDriver*>(self);
  driver->wake_.reset();
  guarded("wake", [driver] { driver->run(); });
  return G_SOURCE_REMOVE;
}

gboolean HostLinkDriver::timeCame(gpointer self) {
  auto* driver = static_cast<HostLinkDriver*>(self);
  driver->timer_.reset();
  driver->timerAt_.reset();
  guarded("timer", [driver] { driver->run(); });
  return G_SOURCE_REMOVE;
}

gboolean HostLinkDriver::readable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  auto* driver = static_cast<HostLinkDriver*>(self);
  guarded("read", [driver] {
    if (!driver->read()) driver->end();
    driver->wake();
  });
  return driver->input_ ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean HostLinkDriver::writable(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  auto* driver = static_cast<HostLinkDriver*>(self);
  driver->output_.reset();
  guarded("write", [driver] { driver->run(); });
  return G_SOURCE_REMOVE;
}

void HostLinkDriver::run() {
  const auto now = Clock::now();
  session_.tick(now);
  if (socket_ && (session_.client().shouldClose() || !write())) end();
  if (session_.client().wantsConnection(now)) attempt();
  arm();
}

void HostLinkDriver::arm() {
  const auto due = session_.wakeAt();
  if (due == timerAt_ && (timer_ || !due)) return;
  timerAt_ = due;
  timer_.reset();
  if (!due) return;
  const auto pause = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
  const auto delay = std::max<std::chrono::milliseconds::rep>(pause.count(), 0);
  timer_ = attach(g_timeout_source_new(static_cast<guint>(delay)), &HostLinkDriver::timeCame, this);
}

// -- The connection -------------------------------------------------------------------------------

void HostLinkDriver::extensionAppeared() {
  session_.client().attemptNow(Clock::now());
  wake();
}

void HostLinkDriver::attempt() {
  session_.client().connecting();
  const int error = connect();
  if (error == 0) return;
  if (error != ENOENT && error != ECONNREFUSED) {
    g_debug("cannot connect to the extension: %s", std::strerror(error));
    return session_.connectionFailed(Clock::now());
  }
  starter_([self = std::weak_ptr(self_)](const std::string& problem) {
    if (const auto driver = self.lock())
      guarded("started", [&] { (*driver)->connectAgain(problem); });
  });
}

void HostLinkDriver::connectAgain(const std::string& problem) {
  const int error = connect();
  if (error != 0) {
    g_debug("the extension is not there: %s",
            problem.empty() ? std::strerror(error) : problem.c_str());
    session_.connectionFailed(Clock::now());
  }
  wake();
}

int HostLinkDriver::connect() {
  UnixSocket::Result result = UnixSocket::connect(path_);
  if (!result.socket) return result.error;
  if (UnixSocket::peerUser(result.socket.get()) != ::getuid()) return EPERM;
  socket_ = std::move(result.socket);
  unsent_.clear();
  input_ = attach(g_unix_fd_source_new(socket_.get(), G_IO_IN), &HostLinkDriver::readable, this);
  session_.client().connected(Clock::now());
  wake();
  return 0;
}

void HostLinkDriver::end() {
  input_.reset();
  output_.reset();
  socket_.reset();
  unsent_.clear();
  session_.ended(Clock::now());
  wake();
}

bool HostLinkDriver::read() {
  std::array<char, kReadSize> piece;  // NOLINT: filled before it is read
  const ssize_t size = ::recv(socket_.get(), piece.data(), piece.size(), 0);
  if (size < 0) return errno == EAGAIN || errno == EINTR;
  if (size == 0) return false;
  session_.received({piece.data(), static_cast<std::size_t>(size)}, Clock::now());
  return true;
}

bool HostLinkDriver::write() {
  const std::string more = session_.client().takeOutput(kQuestions);
  // There may be questions left over.
  if (!more.empty()) wake();
  unsent_ += more;
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
  if (!unsent_.empty() && !output_)
    output_ =
        attach(g_unix_fd_source_new(socket_.get(), G_IO_OUT), &HostLinkDriver::writable, this);
  return unsent_.size() <= maximumUnsent_;
}

bool HostLinkDriver::serveUntil(const std::function<bool()>& done,
                                std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  run();
  while (!done()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (!socket_ || left.count() <= 0) return false;
    pollfd wait = {socket_.get(), POLLIN, 0};
    if (::poll(&wait, 1, static_cast<int>(left.count())) <= 0) continue;
    if (read()) continue;
    end();
    return false;
  }
  return true;
}

}  // namespace kelpie::filemanagers
