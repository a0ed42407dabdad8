#include "qt/QtHostLinkDriver.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "linux/base/UnixSocket.h"
#include "qt/QtGuarded.h"

namespace kelpie::filemanagers {

void QtHostLinkDriver::LateDelete::operator()(QSocketNotifier* notifier) const {
  notifier->setEnabled(false);
  notifier->deleteLater();
}

QtHostLinkDriver::QtHostLinkDriver(FileManagerSession& session, std::string socket, Starter starter)
    : session_(session), path_(std::move(socket)), starter_(std::move(starter)) {
  wake_.setSingleShot(true);
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&wake_, &QTimer::timeout, [this] { qtGuarded("wake", [this] { run(); }); });
  QObject::connect(&timer_, &QTimer::timeout, [this] { qtGuarded("timer", [this] { run(); }); });
}

QtHostLinkDriver::~QtHostLinkDriver() = default;

// -- Turns of the main loop -----------------------------------------------------------------------

void QtHostLinkDriver::wake() {
  if (!wake_.isActive()) wake_.start(0);
}

void QtHostLinkDriver::run() {
  const auto now = Clock::now();
  session_.tick(now);
  if (socket_ && (session_.client().shouldClose() || !write())) end();
  if (session_.client().wantsConnection(now)) attempt();
  arm();
}

void QtHostLinkDriver::arm() {
  const auto due = session_.wakeAt();
  if (!due) return timer_.stop();
  const auto pause = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
  timer_.start(std::max(pause, std::chrono::milliseconds(0)));
}

void QtHostLinkDriver::readable() {
  qtGuarded("read", [this] {
    if (!socket_) return;
    if (!read()) end();
    wake();
  });
}

// -- The connection -------------------------------------------------------------------------------

bool QtHostLinkDriver::connectNow() {
  if (!socket_) run();
  return static_cast<bool>(socket_);
}

void QtHostLinkDriver::extensionAppeared() {
  session_.client().attemptNow(Clock::now());
  wake();
}

void QtHostLinkDriver::attempt() {
  session_.client().connecting();
  const int error = connect();
  if (error == 0) return;
  if (error != ENOENT && error != ECONNREFUSED) {
    qCDebug(kelpieLog, "cannot connect to the extension: %s", std::strerror(error));
    return session_.connectionFailed(Clock::now());
  }
  starter_([self = std::weak_ptr(self_)](const std::string& problem) {
    if (const auto driver = self.lock())
      qtGuarded("started", [&] { (*driver)->connectAgain(problem); });
  });
}

void QtHostLinkDriver::connectAgain(const std::string& problem) {
  const int error = connect();
  if (error != 0) {
    qCDebug(kelpieLog, "the extension is not there: %s",
            problem.empty() ? std::strerror(error) : problem.c_str());
    session_.connectionFailed(Clock::now());
  }
  wake();
}

int QtHostLinkDriver::connect() {
  UnixSocket::Result result = UnixSocket::connect(path_);
  if (!result.socket) return result.error;
  if (UnixSocket::peerUser(result.socket.get()) != ::getuid()) return EPERM;
  socket_ = std::move(result.socket);
  unsent_.clear();
  input_.reset(std::make_unique<QSocketNotifier>(socket_.get(), QSocketNotifier::Read).release());
  output_.reset(std::make_unique<QSocketNotifier>(socket_.get(), QSocketNotifier::Write).release());
  output_->setEnabled(false);
  QObject::connect(input_.get(), &QSocketNotifier::activated, [this] { readable(); });
  QObject::connect(output_.get(), &QSocketNotifier::activated, [this] {
    qtGuarded("write", [this] {
      if (output_) output_->setEnabled(false);
      run();
    });
  });
  session_.client().connected(Clock::now());
  wake();
  return 0;
}

void QtHostLinkDriver::end() {
  input_.reset();
  output_.reset();
  socket_.reset();
  unsent_.clear();
  session_.ended(Clock::now());
  wake();
}

bool QtHostLinkDriver::read() {
  std::array<char, kReadSize> piece;  // NOLINT: filled before it is read
  const ssize_t size = ::recv(socket_.get(), piece.data(), piece.size(), 0);
  if (size < 0) return errno == EAGAIN || errno == EINTR;
  if (size == 0) return false;
  session_.received({piece.data(), static_cast<std::size_t>(size)}, Clock::now());
  return true;
}

bool QtHostLinkDriver::write() {
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
  output_->setEnabled(!unsent_.empty());
  return unsent_.size() <= kMaximumUnsent;
}

bool QtHostLinkDriver::serveUntil(const std::function<bool()>& done,
                                  std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  run();
  while (!done()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (!socket_ || left.count() <= 0) return false;
    // What came before may have made us say something.
    bool isOpen = !session_.client().shouldClose() && write();
    pollfd wait = {socket_.get(), POLLIN, 0};
    if (isOpen && ::poll(&wait, 1, static_cast<int>(left.count())) > 0) isOpen = read();
    if (isOpen) continue;
    end();
    return false;
  }
  return true;
}

}  // namespace kelpie::filemanagers
