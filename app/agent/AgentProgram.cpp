#include "agent/AgentProgram.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <utility>

#include "Configuration.h"
#include "agent/EndSignals.h"
#include "foundation/MessageKeys.h"
#include "platform/linux/SocketFiles.h"

namespace kelpie::agent {
namespace {

constexpr const char* kHelp =
    "usage: kelpie-agent [--version | --help]\n"
    "\n"
    "Reads the state of git working copies for the file manager's extension, and carries out\n"
    "what is chosen from its menus. It runs until the session or SIGTERM ends it; of several\n"
    "copies one works and the others wait.\n"
    "\n"
    "It writes its log to standard error. Its settings are in\n"
    "$XDG_CONFIG_HOME/kelpie/agent.conf; it needs git 2.16 or newer.\n";

// The bus itself answers at once or never.
constexpr std::chrono::milliseconds kBusLimit{2000};

}  // namespace

int AgentProgram::run(const std::vector<std::string>& arguments) {
  if (arguments.size() == 1 && arguments[0] == "--version") {
    std::cout << kVersion << '\n' << std::flush;
    return std::cout ? 0 : 1;
  }
  if (arguments.size() == 1 && arguments[0] == "--help") {
    std::cout << kHelp << std::flush;
    return std::cout ? 0 : 1;
  }
  if (!arguments.empty()) {
    std::cerr << kHelp;
    return 2;
  }
  // A log that nobody reads any more does not end the process.
  std::signal(SIGPIPE, SIG_IGN);
  AgentProgram().serve();
}

void AgentProgram::serve() {
  const EndSignals signals([this] { loop_.quit(0); });
  if (const std::optional<std::string> problem = runtime_.prepare()) {
    log_.write(*problem);
    end(1);
  }
  SessionBus::Attempt attempt = SessionBus::connect();
  if (attempt.bus == nullptr) {
    log_.write("no session bus, which is needed: " + attempt.problem);
    end(1);
  }
  bus_ = std::move(attempt.bus);
  bus_->setClosedHandler([this] {
    hasEnded_ = true;
    log_.write("the session bus has ended");
    loop_.quit(0);
  });
  name_ = std::make_unique<BusName>(
      *bus_, std::string(kApplicationIdentifier),
      BusName::Handlers{[this] { nameAcquired(); }, [this] { nameTaken(); }});
  end(loop_.run());
}

void AgentProgram::nameTaken() {
  if (hasEnded_ || service_ != nullptr) return;
  log_.write("another copy runs; waiting until it ends");
  watchOwner();
}

void AgentProgram::nameAcquired() {
  hasName_ = true;
  if (ownerMonitor_ == nullptr) startService();
}

// The name is free a moment before the process that had it is gone. An extension that saw this copy
// before the end of the other would take that end for this one's.
void AgentProgram::watchOwner() {
  const std::optional<std::int32_t> owner = pidOfOwner();
  if (!owner) return;
  ownerMonitor_ = monitors_.makeMonitor(*owner);
  ownerMonitor_->setEventHandler([this] {
    std::exchange(ownerMonitor_, nullptr)->cancel();
    // Yet another copy may have been the next.
    hasName_ ? startService() : watchOwner();
  });
  ownerMonitor_->resume();
}

void AgentProgram::startService() {
  if (service_ != nullptr) return;
  service_ = std::make_unique<AgentService>(loop_, *bus_, runtime_.portsFolder(),
                                            [this] { loop_.quit(0); });
  if (!service_->start()) loop_.quit(1);
}

std::optional<std::int32_t> AgentProgram::pidOfOwner() const {
  const GVariantPtr answer = bus_->callBus("GetConnectionUnixProcessID",
                                           std::string(kApplicationIdentifier), "(u)", kBusLimit);
  if (answer == nullptr) return std::nullopt;
  guint32 pid = 0;
  g_variant_get(answer.get(), "(u)", &pid);
  const auto owner = static_cast<std::int32_t>(pid);
  return owner == getpid() ? std::nullopt : std::optional(owner);
}

// At once, whatever the queues are busy with: git that only answers questions ends with the
// process, and what changes a repository comes to its end by itself. A copy that was waiting made
// the extensions take no notice of any; they are to look again.
void AgentProgram::end(int status) {
  SocketFiles::shared().removeAllForGood();
  if (service_ == nullptr && bus_ != nullptr && !hasEnded_) {
    name_.reset();
    LinuxNotificationCenter(bus_.get(), log_)
        .post(kApplicationRunningNotification, kApplicationIdentifier);
    g_dbus_connection_flush_sync(bus_->connection(), nullptr, nullptr);
  }
  _exit(status);
}

}  // namespace kelpie::agent
