#include "agent/AgentProgram.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "Configuration.h"
#include "agent/UndoProgram.h"
#include "linux/base/ProcessEnd.h"
#include "linux/base/ProcessMemory.h"
#include "linux/base/ProgramArguments.h"
#include "linux/base/StderrLog.h"

namespace kelpie::agent {
namespace {

constexpr std::string_view kHelp =
    "Usage: kelpie-agent [--version | --help | --undo FOLDER]\n"
    "\n"
    "Reads the state of git working copies for the file managers' extension, and carries out\n"
    "what is chosen from its menus. It works until the session ends; of several copies one\n"
    "works and the others wait. It needs git 2.26 or newer.\n"
    "\n"
    "  --version  print the version and end\n"
    "  --help     print this and end\n"
    "  --undo     bring back what the last action there put aside, and end\n"
    "\n"
    "Settings are in $XDG_CONFIG_HOME/kelpie/agent.conf. The log goes to standard error.\n";

// The bus itself answers at once or never.
constexpr std::chrono::milliseconds kBusLimit{2000};
// How long a copy that has been ended may keep its name.
constexpr std::chrono::milliseconds kDying{500};

}  // namespace

int AgentProgram::main(std::span<char* const> arguments) {
  if (arguments.size() == 2 && std::string_view(arguments.front()) == "--undo")
    return UndoProgram::main(arguments.back());
  if (!arguments.empty()) return answerProgramArgument(arguments.front(), "kelpie-agent", kHelp);
  std::signal(SIGPIPE, SIG_IGN);  // of a log that nobody reads
  ProcessMemory::shareHeaps();
  StderrLog log;
  const RuntimeDirectory runtime;
  std::optional<std::string> problem = runtime.prepare();
  if (!problem) problem = ProcessEnd::onSignals();
  if (problem) {
    log.write(*problem);
    return EXIT_FAILURE;
  }
  AgentProgram(log, runtime).serve();
}

AgentProgram::AgentProgram(Log& log, const RuntimeDirectory& runtime)
    : log_(log),
      runtime_(runtime),
      loop_(log),
      monitors_(loop_),
      bus_(connectToBus()),
      notifications_(bus_.get(), log),
      waitingCopies_(notifications_, monitors_, getpid(), [this] {
        if (service_ != nullptr) service_->announce();
      }) {}

std::unique_ptr<SessionBus> AgentProgram::connectToBus() {
  auto [bus, problem] = SessionBus::connect();
  if (bus == nullptr) {
    log_.write(problem + "; without it nobody can find the main application");
    ProcessEnd::now(EXIT_FAILURE);
  }
  bus->setClosedHandler([this] {
    const SessionBus::Loss loss = SessionBus::loss();
    log_.write(loss.reason);
    ProcessEnd::now(loss.status);
  });
  return std::move(bus);
}

void AgentProgram::serve() {
  name_.emplace(*bus_, std::string(kApplicationIdentifier),
                BusName::Handlers{[this] { nameAcquired(); }, [this] { nameTaken(); }});
  ProcessEnd::now(loop_.run());
}

void AgentProgram::nameTaken() {
  // The name is also lost with the bus.
  if (hasName_ || ownerMonitor_ != nullptr) return;
  watchOwner();
}

void AgentProgram::nameAcquired() {
  hasName_ = true;
  patience_.reset();
  if (ownerMonitor_ == nullptr) startService();
}

// The name is free a moment before the process that had it is gone. An extension that saw this copy
// before the end of the other would take that end for this one's.
void AgentProgram::watchOwner() {
  const std::optional<std::int32_t> owner = pidOfOwner();
  if (!owner) return;
  waitingCopies_.sayWaiting();
  g_dbus_connection_flush_sync(bus_->connection(), nullptr, nullptr);
  ownerMonitor_ = monitors_.makeMonitor(*owner);
  ownerMonitor_->setEventHandler([this] {
    patience_.reset();
    std::exchange(ownerMonitor_, nullptr)->cancel();
    if (hasName_) return startService();
    // Yet another copy may have been the next.
    watchOwner();
  });
  ownerMonitor_->resume();
  if (hasSaidSo_) return;
  // The bus learns of an end later than whoever has ended the other copy.
  patience_ = loop_.callAfter(kDying, [this] {
    hasSaidSo_ = true;
    log_.write("another kelpie-agent runs; waiting until it ends");
  });
}

void AgentProgram::startService() {
  if (service_ != nullptr) return;
  service_ = std::make_unique<AgentService>(loop_, *bus_, notifications_, runtime_,
                                            [this] { loop_.quit(EXIT_SUCCESS); });
  if (!service_->start()) loop_.quit(EXIT_FAILURE);
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

}  // namespace kelpie::agent
