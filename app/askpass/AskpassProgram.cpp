#include "askpass/AskpassProgram.h"

#include <gio/gio.h>

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <system_error>

#include "agent/desktop/Askpass.h"
#include "agent/desktop/Dialogs.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::askpass {
namespace {

using agent::Dialogs;

constexpr int kAnswered = 0;
constexpr int kNotAnswered = 1;
constexpr int kUsage = 2;
constexpr int kBusLimit = 5000;  // milliseconds

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// The action then ends as one that the user has cancelled, whatever git makes of a missing answer.
void cancelAction() {
  const std::string number = variable(agent::Askpass::kActionVariable);
  std::uint64_t id = 0;
  const auto read = std::from_chars(number.data(), number.data() + number.size(), id);
  if (number.empty() || read.ec != std::errc()) return;
  const GObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (bus == nullptr) return;
  g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  const GVariantPtr answer(g_dbus_connection_call_sync(
      bus.get(), "org.kelpie.Kelpie", "/org/kelpie/Kelpie", "org.kelpie.Kelpie.Agent", "Cancel",
      g_variant_new("(t)", guint64{id}), nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, kBusLimit,
      nullptr, nullptr));
}

Dialogs::Answer ask(AskpassProgram::Kind kind, const std::string& question) {
  switch (kind) {
    case AskpassProgram::Kind::Text:
      return Dialogs::ask(question, "");
    case AskpassProgram::Kind::Secret:
      return Dialogs::askSecret(question);
    case AskpassProgram::Kind::YesOrNo:
    case AskpassProgram::Kind::Consent:
      return Dialogs::confirm(question, "Yes");
    case AskpassProgram::Kind::Notice:
      return Dialogs::tell(question);
  }
  return {};
}

}  // namespace

// git asks for "Username for '...': " in these words; any question that is not known to be harmless
// counts as one for a secret.
AskpassProgram::Kind AskpassProgram::kindOf(const std::string& question, const std::string& hint) {
  if (hint == "confirm") return Kind::Consent;
  if (hint == "none") return Kind::Notice;
  if (question.find("(yes/no") != std::string::npos || question.find("'yes'") != std::string::npos)
    return Kind::YesOrNo;
  return question.starts_with("Username") ? Kind::Text : Kind::Secret;
}

int AskpassProgram::main(std::span<char* const> arguments) {
  if (arguments.size() != 1) {
    std::cerr << "kelpie-askpass: git and ssh start it, with a question as its argument\n";
    return kUsage;
  }
  const std::string question = arguments.front();
  const Kind kind = kindOf(question, variable("SSH_ASKPASS_PROMPT"));
  const Dialogs::Answer answer = ask(kind, question);
  if (answer.end == Dialogs::End::Unavailable) {
    std::cerr << "There is no way to ask for what is needed here: neither zenity nor kdialog is "
                 "there, or there is no display.\n";
    return kNotAnswered;
  }
  if (!answer.given()) {
    if (kind != Kind::Notice) cancelAction();
    return kNotAnswered;
  }
  if (kind == Kind::YesOrNo) std::cout << "yes\n";
  if (kind == Kind::Text || kind == Kind::Secret) std::cout << answer.text << '\n';
  std::cout.flush();
  return std::cout.good() ? kAnswered : kNotAnswered;
}

}  // namespace kelpie::askpass
