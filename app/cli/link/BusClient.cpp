#include "cli/link/BusClient.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace kelpie::cli {
namespace {

// A service may have much to do before it takes its name; a question is answered at once.
constexpr int kStartLimit = 15'000;  // milliseconds
constexpr int kAskLimit = 3'000;

// The message without the name of the D-Bus error in front of it.
std::string textOf(GError* error) {
  const GErrorPtr owner(error);
  g_dbus_error_strip_remote_error(owner.get());
  return owner->message;
}

}  // namespace

Result<BusClient> BusClient::connect() {
  GError* error = nullptr;
  GObjectPtr<GDBusConnection> connection(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
  if (!connection) return Problem{textOf(error)};
  // A session that ends must not take the program with it in the middle of a line.
  g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
  return BusClient(std::move(connection));
}

std::optional<std::string> BusClient::start(const std::string& name) const {
  thread_.check();
  const auto answer =
      call("StartServiceByName", g_variant_new("(su)", name.c_str(), 0U), "(u)", kStartLimit);
  return answer ? std::nullopt : std::optional(answer.problem());
}

std::optional<std::uint32_t> BusClient::ownerProcess(const std::string& name) const {
  thread_.check();
  const auto answer =
      call("GetConnectionUnixProcessID", g_variant_new("(s)", name.c_str()), "(u)", kAskLimit);
  if (!answer) return std::nullopt;
  guint32 process = 0;
  g_variant_get(answer->get(), "(u)", &process);
  return process;
}

bool BusClient::canStart(const std::string& name) const {
  thread_.check();
  const auto answer = call("ListActivatableNames", nullptr, "(as)", kAskLimit);
  if (!answer) return false;
  const GVariantPtr names(g_variant_get_child_value(answer->get(), 0));
  gsize count = 0;
  const std::unique_ptr<const char*, GFreeDelete> list(g_variant_get_strv(names.get(), &count));
  return std::find(list.get(), list.get() + count, name) != list.get() + count;
}

Result<GVariantPtr> BusClient::call(const char* method, GVariant* arguments, const char* answer,
                                    int limit) const {
  GError* error = nullptr;
  GVariantPtr result(g_dbus_connection_call_sync(
      connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      method, arguments, G_VARIANT_TYPE(answer), G_DBUS_CALL_FLAGS_NONE, limit, nullptr, &error));
  if (!result) return Problem{textOf(error)};
  return result;
}

}  // namespace kelpie::cli
