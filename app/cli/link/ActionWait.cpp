#include "cli/link/ActionWait.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Configuration.h"

namespace kelpie::cli {
namespace {

// When an action has not ended after this long, the user is told which one it is.
constexpr std::chrono::seconds kPatience(2);
// How long the main application may take to hear of an action: it may have much else to do.
constexpr std::chrono::seconds kHearing(30);

gboolean passed(gpointer hasPassed) {
  *static_cast<bool*>(hasPassed) = true;
  return G_SOURCE_REMOVE;
}

}  // namespace

ActionWait::ActionWait(const AgentClient& client, Chosen chosen)
    : bus_(client.connection()), chosen_(std::move(chosen)) {
  const std::string agent(kApplicationIdentifier);
  signals_ = g_dbus_connection_signal_subscribe(
      bus_, agent.c_str(), AgentClient::kInterface, nullptr, AgentClient::kPath, nullptr,
      G_DBUS_SIGNAL_FLAGS_NONE, &ActionWait::heard, this, nullptr);
  owners_ = g_dbus_connection_signal_subscribe(bus_, "org.freedesktop.DBus", "org.freedesktop.DBus",
                                               "NameOwnerChanged", "/org/freedesktop/DBus",
                                               agent.c_str(), G_DBUS_SIGNAL_FLAGS_NONE,
                                               &ActionWait::ownerChanged, this, nullptr);
  // Once it has answered, the bus has heard of both subscriptions.
  client.actions();
}

ActionWait::~ActionWait() {
  g_dbus_connection_signal_unsubscribe(bus_, signals_);
  g_dbus_connection_signal_unsubscribe(bus_, owners_);
}

ActionWait::End ActionWait::wait(std::chrono::milliseconds limit,
                                 const std::function<void()>& slow) {
  thread_.check();
  const auto start = Clock::now();
  const auto deadline = start + limit;
  waitUntil(std::min(deadline, start + kPatience), [this] { return isOver(); });
  if (!isOver() && action_.id == 0)
    waitUntil(std::min(deadline, start + kHearing), [this] { return isOver() || action_.id != 0; });
  if (!isOver() && action_.id == 0) return End::Unheard;
  if (!isOver() && Clock::now() < deadline) {
    slow();
    waitUntil(deadline, [this] { return isOver(); });
  }
  if (!action_.end.empty()) return End::Told;
  return isGone_ ? End::Gone : End::Limit;
}

void ActionWait::waitUntil(Clock::time_point deadline, const std::function<bool()>& done) {
  while (!done() && Clock::now() < deadline) {
    bool isOverdue = false;
    const GSourcePtr timer(g_timeout_source_new(static_cast<guint>(pollTimeout(deadline))));
    g_source_set_callback(timer.get(), &passed, &isOverdue, nullptr);
    g_source_attach(timer.get(), nullptr);
    while (!isOverdue && !done()) g_main_context_iteration(nullptr, TRUE);
  }
}

bool ActionWait::isOurs(const AgentClient::Action& action) const {
  return action_.id != 0 ? action.id == action_.id : isOf(chosen_, action);
}

bool ActionWait::isOf(const Chosen& chosen, const AgentClient::Action& action) {
  if (!action.choice.empty()) return action.choice == chosen.choice;
  std::error_code ignored;
  return action.title.empty() && action.action == chosen.selector &&
         std::filesystem::equivalent(action.folder, chosen.folder, ignored);
}

void ActionWait::heard(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                       const gchar* /*interface*/, const gchar* /*signal*/, GVariant* values,
                       gpointer data) {
  auto& self = *static_cast<ActionWait*>(data);
  if (g_variant_is_of_type(values, G_VARIANT_TYPE("(a{sv})")) == FALSE || self.isOver()) return;
  const GVariantPtr dictionary(g_variant_get_child_value(values, 0));
  AgentClient::Action action = AgentClient::actionOf(dictionary.get());
  if (self.isOurs(action)) self.action_ = std::move(action);
}

void ActionWait::ownerChanged(GDBusConnection* /*bus*/, const gchar* /*sender*/,
                              const gchar* /*path*/, const gchar* /*interface*/,
                              const gchar* /*signal*/, GVariant* /*values*/, gpointer data) {
  static_cast<ActionWait*>(data)->isGone_ = true;
}

}  // namespace kelpie::cli
