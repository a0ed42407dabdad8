#include "linux/hostlink/HostConnection.h"

#include <array>
#include <utility>

namespace kelpie {
namespace {

// How much is read before other sources of the main context get their turn.
constexpr std::size_t kReadSize = std::size_t{64} << 10U;

// Why a connection ends with `error`; a host that has closed its end just left.
std::string reasonOf(const GError& error) {
  return g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CONNECTION_CLOSED) ? "" : error.message;
}

GSourcePtr attach(GSource* source, GSourceFunc function, gpointer self) {
  g_source_set_callback(source, function, self, nullptr);
  g_source_attach(source, nullptr);
  return GSourcePtr(source);
}

}  // namespace

HostConnection::HostConnection(GObjectPtr<GSocket> socket, std::size_t maximumLine,
                               Handlers handlers)
    : socket_(std::move(socket)), lines_(maximumLine), handlers_(std::move(handlers)) {
  g_socket_set_blocking(socket_.get(), FALSE);
  watchForReading();
}

void HostConnection::watchForReading() {
  GSource* source = g_socket_create_source(socket_.get(), G_IO_IN, nullptr);
  reading_ = attach(source, G_SOURCE_FUNC(&HostConnection::readable), this);
}

void HostConnection::watchForWriting() {
  if (writing_) return;
  GSource* source = g_socket_create_source(socket_.get(), G_IO_OUT, nullptr);
  writing_ = attach(source, G_SOURCE_FUNC(&HostConnection::writable), this);
}

gboolean HostConnection::readable(GSocket* /*socket*/, GIOCondition /*condition*/, gpointer self) {
  static_cast<HostConnection*>(self)->read();
  return G_SOURCE_CONTINUE;
}

gboolean HostConnection::writable(GSocket* /*socket*/, GIOCondition /*condition*/, gpointer self) {
  static_cast<HostConnection*>(self)->write();
  return G_SOURCE_CONTINUE;
}

gboolean HostConnection::ended(gpointer self) {
  // The handler may destroy the connection, and with it the function being called.
  auto* connection = static_cast<HostConnection*>(self);
  const auto onEnd = connection->handlers_.onEnd;
  const std::string reason = connection->endReason_;
  onEnd(reason);
  return G_SOURCE_REMOVE;
}

void HostConnection::read() {
  std::array<char, kReadSize> buffer{};
  GError* failure = nullptr;
  const gssize size =
      g_socket_receive(socket_.get(), buffer.data(), buffer.size(), nullptr, &failure);
  const GErrorPtr error(failure);
  if (size < 0) {
    if (!g_error_matches(failure, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)) endSoon(reasonOf(*failure));
    return;
  }
  if (size == 0) {
    endSoon("");
    return;
  }
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
  if (ending_ || bytes.empty()) return;
  waitingBytes_ += bytes.size();
  waiting_.push_back(std::move(bytes));
  write();
  if (waitingBytes_ > kMaximumWaiting) endSoon("it does not read what it is sent");
}

void HostConnection::write() {
  while (!waiting_.empty() && !ending_) {
    const std::string& next = waiting_.front();
    GError* failure = nullptr;
    const gssize size = g_socket_send(socket_.get(), next.data() + written_, next.size() - written_,
                                      nullptr, &failure);
    const GErrorPtr error(failure);
    if (size < 0) {
      if (g_error_matches(failure, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)) {
        watchForWriting();
      } else {
        endSoon(reasonOf(*failure));
      }
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
  // Not at once: whoever is sending still holds on to the connection.
  ending_ = attach(g_idle_source_new(), &HostConnection::ended, this);
  g_source_set_priority(ending_.get(), G_PRIORITY_DEFAULT);
}

}  // namespace kelpie
