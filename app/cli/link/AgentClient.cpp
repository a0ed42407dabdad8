#include "cli/link/AgentClient.h"

#include "Configuration.h"

namespace kelpie::cli {
namespace {

// git may have much to look at before it tells how far two branches are apart.
constexpr int kAnswerLimit = 10'000;  // milliseconds

std::string nameOfAgent() { return std::string(kApplicationIdentifier); }

// The values of a dictionary; a value that is absent or of another kind reads as empty.
class Values {
 public:
  explicit Values(GVariant* dictionary) : dictionary_(dictionary) {}

  std::string text(const char* key) const {
    const char* value = nullptr;
    return g_variant_lookup(dictionary_, key, "&s", &value) == TRUE ? value : "";
  }
  std::string bytes(const char* key) const {
    const GVariantPtr value(g_variant_lookup_value(dictionary_, key, G_VARIANT_TYPE_BYTESTRING));
    return value ? bytesOf(value.get()) : "";
  }
  std::optional<std::uint64_t> number(const char* key) const {
    guint64 value = 0;
    if (g_variant_lookup(dictionary_, key, "t", &value) == FALSE) return std::nullopt;
    return value;
  }
  bool truth(const char* key) const {
    gboolean value = FALSE;
    return g_variant_lookup(dictionary_, key, "b", &value) == TRUE && value == TRUE;
  }
  GVariantPtr list(const char* key, const char* type) const {
    return GVariantPtr(g_variant_lookup_value(dictionary_, key, G_VARIANT_TYPE(type)));
  }
  static std::string bytesOf(GVariant* value) {
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_variant_get_fixed_array(value, &size, 1));
    return size == 0 ? std::string() : std::string(data, size);
  }

 private:
  GVariant* dictionary_;
};

}  // namespace

Result<AgentClient> AgentClient::connect() {
  GError* error = nullptr;
  GObjectPtr<GDBusConnection> connection(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
  if (!connection) {
    const GErrorPtr why(error);
    return Problem{std::string("there is no session bus (") + why->message + ")"};
  }
  g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
  AgentClient client(std::move(connection));
  const auto answer = client.call("Actions", nullptr, "(aa{sv})");
  if (answer) return client;
  return Problem{"the main application does not answer on the session bus (" + answer.problem() +
                 ")"};
}

std::optional<std::vector<AgentClient::Action>> AgentClient::actions() const {
  thread_.check();
  const auto answer = call("Actions", nullptr, "(aa{sv})");
  if (!answer) return std::nullopt;
  const GVariantPtr list(g_variant_get_child_value(answer->get(), 0));
  std::vector<Action> actions;
  for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
    const GVariantPtr each(g_variant_get_child_value(list.get(), i));
    actions.push_back(actionOf(each.get()));
  }
  return actions;
}

std::optional<bool> AgentClient::cancel(std::uint64_t id) const {
  thread_.check();
  const auto answer = call("Cancel", g_variant_new("(t)", guint64{id}), "(b)");
  if (!answer) return std::nullopt;
  gboolean found = FALSE;
  g_variant_get(answer->get(), "(b)", &found);
  return found == TRUE;
}

std::optional<AgentClient::WorkingCopy> AgentClient::workingCopy(const std::string& path) const {
  thread_.check();
  GVariant* bytes = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, path.data(), path.size(), 1);
  const auto answer = call("WorkingCopy", g_variant_new_tuple(&bytes, 1), "(a{sv})");
  if (!answer) return std::nullopt;
  const GVariantPtr dictionary(g_variant_get_child_value(answer->get(), 0));
  const Values values(dictionary.get());
  WorkingCopy copy;
  copy.root = values.bytes("root");
  if (copy.root.empty()) return std::nullopt;
  copy.branch = values.bytes("branch");
  copy.upstream = values.bytes("upstream");
  copy.commit = values.text("commit");
  copy.isDetached = values.truth("detached");
  if (const auto ahead = values.number("ahead"))
    copy.distance = std::pair(*ahead, values.number("behind").value_or(0));
  copy.operation = values.text("operation");
  copy.hasReferences = values.truth("references");
  const GVariantPtr changes = values.list("changes", "a(ayb)");
  for (gsize i = 0; changes && i < g_variant_n_children(changes.get()); ++i) {
    const GVariantPtr change(g_variant_get_child_value(changes.get(), i));
    const GVariantPtr name(g_variant_get_child_value(change.get(), 0));
    const GVariantPtr isDeleted(g_variant_get_child_value(change.get(), 1));
    copy.changes.push_back(
        {Values::bytesOf(name.get()), g_variant_get_boolean(isDeleted.get()) == TRUE});
  }
  return copy;
}

AgentClient::Action AgentClient::actionOf(GVariant* dictionary) {
  const Values values(dictionary);
  Action action;
  action.id = values.number("id").value_or(0);
  action.action = values.text("action");
  action.label = values.text("label");
  action.title = values.text("title");
  action.folder = values.bytes("folder");
  action.choice = values.text("choice");
  action.state = values.text("state");
  action.end = values.text("end");
  action.message = values.text("message");
  action.age = std::chrono::milliseconds(values.number("age").value_or(0));
  return action;
}

Result<GVariantPtr> AgentClient::call(const char* method, GVariant* arguments,
                                      const char* answer) const {
  GError* error = nullptr;
  GVariantPtr result(g_dbus_connection_call_sync(
      connection_.get(), nameOfAgent().c_str(), kPath, kInterface, method, arguments,
      G_VARIANT_TYPE(answer), G_DBUS_CALL_FLAGS_NO_AUTO_START, kAnswerLimit, nullptr, &error));
  if (!result) {
    const GErrorPtr why(error);
    g_dbus_error_strip_remote_error(error);
    return Problem{error->message};
  }
  return result;
}

}  // namespace kelpie::cli
