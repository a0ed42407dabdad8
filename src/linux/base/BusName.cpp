#include "linux/base/BusName.h"

#include <memory>
#include <utility>

namespace kelpie {
namespace {

void acquired(GDBusConnection* /*connection*/, const gchar* /*name*/, gpointer data) {
  const auto& handlers = *static_cast<BusName::Handlers*>(data);
  if (handlers.acquired) handlers.acquired();
}

// Without a connection, or with one that is closed, it is the bus that has ended.
void lost(GDBusConnection* connection, const gchar* /*name*/, gpointer data) {
  const auto& handlers = *static_cast<BusName::Handlers*>(data);
  if (connection == nullptr || g_dbus_connection_is_closed(connection) != FALSE) return;
  if (handlers.lost) handlers.lost();
}

void letGo(gpointer data) {
  const std::unique_ptr<BusName::Handlers> owned(static_cast<BusName::Handlers*>(data));
}

}  // namespace

BusName::BusName(const SessionBus& bus, const std::string& name, Handlers handlers)
    : owning_(g_bus_own_name_on_connection(
          bus.connection(), name.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE, acquired, lost,
          std::make_unique<Handlers>(std::move(handlers)).release(), letGo)) {}

BusName::~BusName() { g_bus_unown_name(owning_); }

}  // namespace kelpie
