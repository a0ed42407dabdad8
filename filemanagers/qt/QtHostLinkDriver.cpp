#include "qt/QtHostLinkDriver.h"

#include <algorithm>
#include <utility>

#include "qt/QtGuarded.h"

namespace kelpie::filemanagers {

void QtHostLinkDriver::LateDelete::operator()(QSocketNotifier* notifier) const {
  notifier->setEnabled(false);
  notifier->deleteLater();
}

QtHostLinkDriver::QtHostLinkDriver(FileManagerSession& session, std::string socket, Starter starter)
    : session_(session), socket_(session, std::move(socket)), starter_(std::move(starter)) {
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
  if (socket_.isOpen()) {
    if (!socket_.write()) end();
    if (socket_.hasMore()) wake();
    if (output_) output_->setEnabled(socket_.isFull());
  }
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
    if (!socket_.isOpen()) return;
    if (!socket_.read()) end();
    wake();
  });
}

// -- The connection -------------------------------------------------------------------------------

bool QtHostLinkDriver::connectNow() {
  if (!socket_.isOpen()) run();
  return socket_.isOpen();
}

void QtHostLinkDriver::extensionAppeared() {
  session_.client().attemptNow(Clock::now());
  wake();
}

void QtHostLinkDriver::attempt() {
  switch (socket_.connect()) {
    case ExtensionSocket::Outcome::Connected:
      return watch();
    case ExtensionSocket::Outcome::Failed:
      qCDebug(kelpieLog, "cannot connect to the extension: %s", socket_.problem().c_str());
      return;
    case ExtensionSocket::Outcome::NobodyListens:
      starter_([self = std::weak_ptr(self_)](const std::string& problem) {
        if (const auto driver = self.lock())
          qtGuarded("started", [&] { (*driver)->connectAgain(problem); });
      });
  }
}

void QtHostLinkDriver::connectAgain(const std::string& problem) {
  if (socket_.connectAgain()) return watch();
  qCDebug(kelpieLog, "the extension is not there: %s",
          problem.empty() ? socket_.problem().c_str() : problem.c_str());
  wake();
}

void QtHostLinkDriver::watch() {
  const int descriptor = socket_.descriptor();
  input_.reset(std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read).release());
  output_.reset(std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Write).release());
  output_->setEnabled(false);
  QObject::connect(input_.get(), &QSocketNotifier::activated, [this] { readable(); });
  QObject::connect(output_.get(), &QSocketNotifier::activated, [this] {
    qtGuarded("write", [this] {
      if (output_) output_->setEnabled(false);
      run();
    });
  });
  wake();
}

void QtHostLinkDriver::end() {
  input_.reset();
  output_.reset();
  socket_.end();
  wake();
}

bool QtHostLinkDriver::serveUntil(const std::function<bool()>& done,
                                  std::chrono::milliseconds limit) {
  run();
  const bool isDone = socket_.serveUntil(done, limit);
  if (!socket_.isOpen()) end();
  wake();
  return isDone;
}

}  // namespace kelpie::filemanagers
