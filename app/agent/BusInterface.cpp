#include "agent/BusInterface.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "Configuration.h"
#include "foundation/Text.h"

namespace kelpie::agent {
namespace {

constexpr const char* kAgentPath = "/org/kelpie/Kelpie";
constexpr const char* kInterface = "org.kelpie.Kelpie.Agent";
constexpr const char* kXml = R"(<node><interface name="org.kelpie.Kelpie.Agent">
  <method name="Actions"><arg type="aa{sv}" direction="out"/></method>
  <method name="Cancel"><arg type="t" direction="in"/><arg type="b" direction="out"/></method>
  <method name="Undone"><arg type="ay" direction="in"/></method>
  <method name="WorkingCopy"><arg type="ay" direction="in"/><arg type="a{sv}" direction="out"/></method>
  <signal name="Began"><arg type="a{sv}"/></signal>
  <signal name="Ended"><arg type="a{sv}"/></signal>
  <signal name="Told"><arg type="s"/><arg type="s"/></signal>
</interface></node>)";

// No message on the bus needs more; git can say very much.
constexpr std::size_t kLongestShownText = std::size_t{64} << 10U;
constexpr int kUndoneLimit = 2000;  // milliseconds
constexpr std::size_t kLongestBusPath = std::size_t{64} << 10U;

std::string shown(std::string_view text) { return displayText(text.substr(0, kLongestShownText)); }

// A dictionary of strings to values that is being built.
class Values {
 public:
  Values() { g_variant_builder_init(&builder_, G_VARIANT_TYPE_VARDICT); }

  void text(const char* key, std::string_view value) {
    add(key, g_variant_new_string(shown(value).c_str()));
  }
  void bytes(const char* key, const std::string& value) {
    add(key, g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, value.data(), value.size(), 1));
  }
  void number(const char* key, std::uint64_t value) { add(key, g_variant_new_uint64(value)); }
  void truth(const char* key, bool value) { add(key, g_variant_new_boolean(value ? TRUE : FALSE)); }
  void add(const char* key, GVariant* value) {
    g_variant_builder_add(&builder_, "{sv}", key, value);
  }
  GVariant* end() { return g_variant_builder_end(&builder_); }

 private:
  GVariantBuilder builder_{};
};

const char* stateOf(ActionInfo::State state) {
  constexpr std::array<const char*, 3> kStates = {"waiting", "running", "asking"};
  return kStates.at(static_cast<std::size_t>(state));
}

const char* endOf(ActionOutcome::End end) {
  constexpr std::array<const char*, 3> kEnds = {"done", "cancelled", "failed"};
  return kEnds.at(static_cast<std::size_t>(end));
}

void addAction(Values& values, const ActionInfo& action) {
  const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - action.since);
  values.number("id", action.id);
  values.text("action", action.action);
  values.text("label", action.label);
  values.text("title", action.title);
  values.bytes("folder", action.folder);
  values.text("choice", action.choice);
  values.number("age", static_cast<std::uint64_t>(std::max<std::int64_t>(age.count(), 0)));
}

GVariant* valuesOf(const ActionInfo& action) {
  Values values;
  addAction(values, action);
  values.text("state", stateOf(action.state));
  return values.end();
}

// The message of an action that has ended; if it opened windows, the programs that did so.
std::string messageOf(const ActionOutcome& outcome) {
  if (!outcome.message.empty() || outcome.windows.empty()) return outcome.message;
  std::string message = "Opened:";
  for (const std::string& word : outcome.windows.front().arguments) {
    if (message.size() > 200) return message + " \u2026";
    message += " " + word;
  }
  return message;
}

GVariant* valuesOf(const WorkingCopySummary& summary) {
  Values values;
  values.bytes("root", summary.root);
  values.bytes("branch", summary.branch);
  values.bytes("upstream", summary.upstream);
  values.text("commit", summary.commit);
  values.truth("detached", summary.isDetached);
  if (summary.distance) {
    values.number("ahead", summary.distance->ahead);
    values.number("behind", summary.distance->behind);
  }
  values.text("operation", summary.operation);
  values.truth("references", summary.hasReferences);
  GVariantBuilder changes;
  g_variant_builder_init(&changes, G_VARIANT_TYPE("a(ayb)"));
  for (const WorkingCopySummary::Change& change : summary.changes) {
    g_variant_builder_add(
        &changes, "(@ayb)",
        g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, change.path.data(), change.path.size(), 1),
        change.isDeleted ? TRUE : FALSE);
  }
  values.add("changes", g_variant_builder_end(&changes));
  return values.end();
}

GVariant* tupleOf(GVariant* value) { return g_variant_new_tuple(&value, 1); }

// The path that is the only argument; empty when it is not a possible path.
std::string pathIn(GVariant* arguments) {
  const GVariantPtr bytes(g_variant_get_child_value(arguments, 0));
  gsize size = 0;
  const auto* path = static_cast<const char*>(g_variant_get_fixed_array(bytes.get(), &size, 1));
  return size > kLongestBusPath ? std::string() : std::string(path, size);
}

}  // namespace

BusInterface::BusInterface(GDBusConnection* bus, Log& log, Answers answers)
    : bus_(bus == nullptr ? nullptr : G_DBUS_CONNECTION(g_object_ref(bus))),
      log_(log),
      answers_(std::move(answers)) {
  if (bus_ == nullptr) return;
  GError* error = nullptr;
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kXml, &error);
  if (node != nullptr) {
    const GDBusInterfaceVTable table = {&BusInterface::called, nullptr, nullptr, {}};
    registration_ = g_dbus_connection_register_object(bus_.get(), kAgentPath, node->interfaces[0],
                                                      &table, this, nullptr, &error);
    g_dbus_node_info_unref(node);
  }
  const GErrorPtr why(error);
  if (registration_ == 0) log_.write(std::string("No interface on the bus: ") + why->message);
}

BusInterface::~BusInterface() {
  if (registration_ != 0) g_dbus_connection_unregister_object(bus_.get(), registration_);
}

void BusInterface::began(const ActionInfo& action) {
  thread_.check();
  emit("Began", tupleOf(valuesOf(action)));
}

void BusInterface::over(const ActionInfo& action, const ActionOutcome& outcome) {
  thread_.check();
  Values values;
  addAction(values, action);
  values.text("end", endOf(outcome.end));
  values.text("message", messageOf(outcome));
  emit("Ended", tupleOf(values.end()));
}

void BusInterface::told(const std::string& title, const std::string& text) {
  thread_.check();
  emit("Told", g_variant_new("(ss)", shown(title).c_str(), shown(text).c_str()));
}

void BusInterface::flush() {
  thread_.check();
  if (bus_ == nullptr) return;
  g_dbus_connection_flush_sync(bus_.get(), nullptr, nullptr);
}

void BusInterface::emit(const char* signal, GVariant* values) {
  const GVariantPtr held(g_variant_ref_sink(values));
  if (bus_ == nullptr) return;
  g_dbus_connection_emit_signal(bus_.get(), nullptr, kAgentPath, kInterface, signal, held.get(),
                                nullptr);
}

void BusInterface::called(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                          const gchar* /*interface*/, const gchar* method, GVariant* arguments,
                          GDBusMethodInvocation* call, gpointer data) {
  const auto& self = *static_cast<BusInterface*>(data);
  const std::string_view name = method;
  if (name == "Actions") {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("aa{sv}"));
    for (const ActionInfo& action : self.answers_.actions())
      g_variant_builder_add_value(&list, valuesOf(action));
    return g_dbus_method_invocation_return_value(call, tupleOf(g_variant_builder_end(&list)));
  }
  if (name == "Cancel") {
    guint64 id = 0;
    g_variant_get(arguments, "(t)", &id);
    const gboolean found = self.answers_.cancel(id) ? TRUE : FALSE;
    return g_dbus_method_invocation_return_value(call, g_variant_new("(b)", found));
  }
  if (name == "Undone") return self.answerUndone(arguments, call);
  self.tellSummary(arguments, call);
}

void BusInterface::answerUndone(GVariant* arguments, GDBusMethodInvocation* call) const {
  const std::string root = pathIn(arguments);
  if (!root.empty()) answers_.undone(root);
  g_dbus_method_invocation_return_value(call, nullptr);
}

void BusInterface::tellUndone(GDBusConnection* bus, const std::string& root) {
  GVariant* path = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, root.data(), root.size(), 1);
  const GVariantPtr answer(g_dbus_connection_call_sync(
      bus, std::string(kApplicationIdentifier).c_str(), kAgentPath, kInterface, "Undone",
      tupleOf(path), nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, kUndoneLimit, nullptr, nullptr));
}

void BusInterface::tellSummary(GVariant* arguments, GDBusMethodInvocation* call) const {
  // A teller may drop the answer without using it.
  const std::shared_ptr<GDBusMethodInvocation> held(call, GObjectUnref());
  const auto tell = [held](const std::optional<WorkingCopySummary>& summary) {
    GVariant* values = summary ? valuesOf(*summary) : Values().end();
    // The answer takes a reference of its own with it.
    g_dbus_method_invocation_return_value(G_DBUS_METHOD_INVOCATION(g_object_ref(held.get())),
                                          tupleOf(values));
  };
  const std::string path = pathIn(arguments);
  if (path.empty()) return tell(std::nullopt);
  answers_.summary(path, tell);
}

}  // namespace kelpie::agent
