#include "glib/HostLinkDriver.h"

#include <glib-unix.h>

#include <algorithm>
#include <utility>

#include "glib/Guarded.h"

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
      socket_(session, std::move(socket), maximumUnsent),
      starter_(std::move(starter)) {}

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
    if (!driver->socket_.read()) driver->end();
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
  if (socket_.isOpen()) {
    if (!socket_.write()) end();
    if (socket_.hasMore()) wake();
    if (socket_.isFull() && !output_)
      output_ = attach(g_unix_fd_source_new(socket_.descriptor(), G_IO_OUT),
                       &HostLinkDriver::writable, this);
  }
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
  switch (socket_.connect()) {
    case ExtensionSocket::Outcome::Connected:
      return watch();
    case ExtensionSocket::Outcome::Failed:
      return g_debug("cannot connect to the extension: %s", socket_.problem().c_str());
    case ExtensionSocket::Outcome::NobodyListens:
      starter_([self = std::weak_ptr(self_)](const std::string& problem) {
        if (const auto driver = self.lock())
          guarded("started", [&] { (*driver)->connectAgain(problem); });
      });
  }
}

void HostLinkDriver::connectAgain(const std::string& problem) {
  if (socket_.connectAgain()) return watch();
  g_debug("the extension is not there: %s",
          problem.empty() ? socket_.problem().c_str() : problem.c_str());
  wake();
}

void HostLinkDriver::watch() {
  input_ =
      attach(g_unix_fd_source_new(socket_.descriptor(), G_IO_IN), &HostLinkDriver::readable, this);
  wake();
}

void HostLinkDriver::end() {
  input_.reset();
  output_.reset();
  socket_.end();
  wake();
}

bool HostLinkDriver::serveUntil(const std::function<bool()>& done,
                                std::chrono::milliseconds limit) {
  run();
  const bool isDone = socket_.serveUntil(done, limit);
  if (!socket_.isOpen()) end();
  wake();
  return isDone;
}

}  // namespace kelpie::filemanagers
