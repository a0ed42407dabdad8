#include "glib/ExtensionService.h"

#include <utility>
#include <vector>

#include "Configuration.h"

namespace kelpie::filemanagers {
namespace {

// In milliseconds. The bus itself gives a service that it starts 25 seconds at most.
constexpr int kStartLimit = 30'000;

std::string takeText(GError* error) {
  const GErrorPtr owner(error);
  if (!owner) return "unknown error";
  g_dbus_error_strip_remote_error(owner.get());
  return owner->message;
}

// What a call to the bus ends with; it is called once and let go.
using CallHandler = std::function<void(const std::string& problem)>;

void callEnded(GObject* bus, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<CallHandler> handler(static_cast<CallHandler*>(data));
  GError* error = nullptr;
  const GVariantPtr answer(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
  (*handler)(answer ? std::string() : takeText(error));
}

void call(GDBusConnection* bus, const char* name, const char* path, const char* interface,
          const char* method, GVariant* arguments, CallHandler handler) {
  g_dbus_connection_call(bus, name, path, interface, method, arguments, nullptr,
                         G_DBUS_CALL_FLAGS_NONE, kStartLimit, nullptr, &callEnded,
                         std::make_unique<CallHandler>(std::move(handler)).release());
}

}  // namespace

// Outlives the service while a call is under way.
struct ExtensionService::State {
  std::function<void()> onAppeared;  // empty when the service has gone
  GObjectPtr<GDBusConnection> bus;
  bool isConnecting = false;
  std::vector<BusHandler> waiting;
  guint watch = 0;

  static void appeared(GDBusConnection* /*bus*/, const gchar* /*name*/, const gchar* /*owner*/,
                       gpointer data) {
    const auto* state = static_cast<State*>(data);
    if (state->onAppeared) state->onAppeared();
  }
};

ExtensionService::ExtensionService(std::function<void()> onAppeared)
    : state_(std::make_shared<State>()) {
  state_->onAppeared = std::move(onAppeared);
  withBus([state = state_](GDBusConnection* bus, const std::string& /*problem*/) {
    if (bus == nullptr || !state->onAppeared) return;
    state->watch = g_bus_watch_name_on_connection(bus, std::string(kExtensionIdentifier).c_str(),
                                                  G_BUS_NAME_WATCHER_FLAGS_NONE, &State::appeared,
                                                  nullptr, state.get(), nullptr);
  });
}

ExtensionService::~ExtensionService() {
  state_->onAppeared = nullptr;
  if (state_->watch != 0) g_bus_unwatch_name(state_->watch);
}

void ExtensionService::withBus(BusHandler handler) {
  if (state_->bus) return handler(state_->bus.get(), {});
  state_->waiting.push_back(std::move(handler));
  if (std::exchange(state_->isConnecting, true)) return;
  g_bus_get(G_BUS_TYPE_SESSION, nullptr, &ExtensionService::gotBus,
            std::make_unique<std::shared_ptr<State>>(state_).release());
}

void ExtensionService::gotBus(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<std::shared_ptr<State>> owner(static_cast<std::shared_ptr<State>*>(data));
  State& state = **owner;
  state.isConnecting = false;
  GError* error = nullptr;
  state.bus.reset(g_bus_get_finish(result, &error));
  std::string problem;
  if (!state.bus) problem = "there is no session bus: " + takeText(error);
  for (const BusHandler& handler : std::exchange(state.waiting, {}))
    handler(state.bus.get(), problem);
}

void ExtensionService::start(std::function<void(const std::string& problem)> done) {
  withBus([done = std::move(done)](GDBusConnection* bus, const std::string& problem) {
    if (bus == nullptr) return done(problem);
    call(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
         "StartServiceByName", g_variant_new("(su)", std::string(kExtensionIdentifier).c_str(), 0U),
         done);
  });
}

void ExtensionService::notify(const std::string& title, const std::string& text) {
  g_message("%s: %s", title.c_str(), text.c_str());
  withBus([title, text](GDBusConnection* bus, const std::string& /*problem*/) {
    if (bus == nullptr) return;
    // The text is shown as it is: what looks like markup in a name is none.
    const GCharPtr escaped(g_markup_escape_text(text.c_str(), -1));
    GVariantBuilder actions;
    g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
    call(bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
         "org.freedesktop.Notifications", "Notify",
         g_variant_new("(susssasa{sv}i)", "Kelpie", 0U, "kelpie", title.c_str(), escaped.get(),
                       &actions, &hints, -1),
         [](const std::string& problem) {
           if (!problem.empty()) g_debug("no notification: %s", problem.c_str());
         });
  });
}

}  // namespace kelpie::filemanagers
