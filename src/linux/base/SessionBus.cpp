#include "linux/base/SessionBus.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace kelpie {
namespace {

// How often connecting is tried, for how long each time, and how long after another: what the
// system was short of may be there then. Nobody else tries again.
constexpr int kAttempts = 2;
constexpr guint kAttemptMilliseconds = 2400;
constexpr gulong kPauseMicroseconds = 100'000;

// GLib's own search would start a bus where there is none, and nobody would end that.
std::optional<std::string> sessionAddress() {
  const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address != nullptr && *address != '\0') return address;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime == nullptr || *runtime != '/') return std::nullopt;
  const std::string path = std::string(runtime) + "/bus";
  std::error_code ignored;
  if (!std::filesystem::is_socket(path, ignored)) return std::nullopt;
  const GCharPtr escaped(g_dbus_address_escape_value(path.c_str()));
  return std::string("unix:path=") + escaped.get();
}

// A connection that is being made. GLib holds it until it says how that ended; if it has no thread
// to connect on, it never does.
struct Connecting {
  GObjectPtr<GCancellable> cancellable{g_cancellable_new()};
  GObjectPtr<GDBusConnection> connection;
  GErrorPtr error;
  bool ended = false;
  bool late = false;
};
using SharedConnecting = std::shared_ptr<Connecting>;

void connecting(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<SharedConnecting> owned(static_cast<SharedConnecting*>(data));
  Connecting& attempt = **owned;
  GError* error = nullptr;
  attempt.connection.reset(g_dbus_connection_new_for_address_finish(result, &error));
  attempt.error.reset(error);
  attempt.ended = true;
}

gboolean giveUp(gpointer data) {
  auto* attempt = static_cast<Connecting*>(data);
  attempt->late = true;
  g_cancellable_cancel(attempt->cancellable.get());
  return G_SOURCE_REMOVE;
}

}  // namespace

SessionBus::Attempt SessionBus::connect() {
  const auto address = sessionAddress();
  if (!address) return {nullptr, "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set"};
  Attempt attempt = connectTo(*address);
  for (int i = 1; !attempt.bus && i < kAttempts; ++i) {
    g_usleep(kPauseMicroseconds);
    attempt = connectTo(*address);
  }
  return attempt;
}

SessionBus::Attempt SessionBus::connectTo(const std::string& address) {
  const auto attempt = std::make_shared<Connecting>();
  constexpr auto kFlags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(address.c_str(), kFlags, nullptr, attempt->cancellable.get(),
                                    connecting,
                                    std::make_unique<SharedConnecting>(attempt).release());
  const GSourcePtr limit(g_timeout_source_new(kAttemptMilliseconds));
  g_source_set_callback(limit.get(), giveUp, attempt.get(), nullptr);
  g_source_attach(limit.get(), nullptr);
  while (!attempt->ended && !attempt->late) g_main_context_iteration(nullptr, TRUE);

  if (attempt->connection)
    return {std::unique_ptr<SessionBus>(
                new SessionBus(std::move(attempt->connection))),  // NOLINT(*-owning-memory)
            ""};
  if (attempt->late) return {nullptr, "cannot connect to the session bus: it does not answer"};
  return {nullptr, std::string("cannot connect to the session bus: ") + attempt->error->message};
}

SessionBus::Loss SessionBus::loss() {
  if (connect().bus) return {"the connection to the session bus was lost", EXIT_FAILURE};
  return {"the session bus has ended", EXIT_SUCCESS};
}

SessionBus::SessionBus(GObjectPtr<GDBusConnection> connection)
    : connection_(std::move(connection)) {
  g_dbus_connection_set_exit_on_close(connection_.get(), FALSE);
  closedSignal_ =
      g_signal_connect(connection_.get(), "closed", G_CALLBACK(&SessionBus::closed), this);
}

SessionBus::~SessionBus() { g_signal_handler_disconnect(connection_.get(), closedSignal_); }

void SessionBus::closed(GDBusConnection* /*connection*/, gboolean /*vanished*/, GError* /*error*/,
                        gpointer self) {
  const auto onClosed = std::exchange(static_cast<SessionBus*>(self)->onClosed_, nullptr);
  if (onClosed) onClosed();
}

GVariantPtr SessionBus::callBus(const char* method, const std::string& argument,
                                const char* answerType, std::chrono::milliseconds limit) const {
  const auto milliseconds = std::max<std::chrono::milliseconds::rep>(limit.count(), 1);
  return GVariantPtr(g_dbus_connection_call_sync(
      connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      method, g_variant_new("(s)", argument.c_str()), G_VARIANT_TYPE(answerType),
      G_DBUS_CALL_FLAGS_NONE, static_cast<gint>(milliseconds), nullptr, nullptr));
}

}  // namespace kelpie
