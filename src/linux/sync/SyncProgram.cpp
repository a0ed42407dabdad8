#include "linux/sync/SyncProgram.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Configuration.h"
#include "linux/base/ProcessEnd.h"
#include "linux/base/ProcessMemory.h"
#include "linux/base/ProgramArguments.h"
#include "linux/base/StderrLog.h"
#include "linux/base/UnixSocket.h"

namespace kelpie {
namespace {

constexpr std::string_view kHelp =
    "Usage: kelpie-sync [--version | --help]\n"
    "\n"
    "Shows the state of git working copies in the file managers of this session. It serves\n"
    "until the session ends; file managers start it when they need it.\n"
    "\n"
    "  --version  print the version and end\n"
    "  --help     print this and end\n"
    "\n"
    "Sockets are in $XDG_RUNTIME_DIR/kelpie, settings in $XDG_CONFIG_HOME/kelpie. The log goes\n"
    "to standard error.\n";

// How long a process that holds the lock may be silent before it is taken to be alive: one that is
// killed lets go of the lock a moment after its sockets, one that starts has it before them.
constexpr std::chrono::milliseconds kDying{3000};
constexpr std::chrono::milliseconds kLook{20};

// Whether somebody serves hosts.
bool isServing(const RuntimeDirectory& runtime) {
  const UnixSocket::Result link = UnixSocket::connect(runtime.finderSocket());
  if (!link.socket) return false;
  constexpr std::string_view kHello =
      "{\"type\":\"hello\",\"host\":\"kelpie-sync\",\"version\":1}\n";
  if (::send(link.socket.get(), kHello.data(), kHello.size(), MSG_NOSIGNAL) < 0) return false;
  pollfd wait = {link.socket.get(), POLLIN, 0};
  std::array<char, 1> first{};
  return ::poll(&wait, 1, static_cast<int>(kDying.count())) == 1 &&
         ::recv(link.socket.get(), first.data(), first.size(), 0) == 1;
}

// The lock, or that another process has it which goes on having it.
RuntimeDirectory::Lock acquireLock(const RuntimeDirectory& runtime) {
  const auto end = std::chrono::steady_clock::now() + kDying;
  RuntimeDirectory::Lock lock = runtime.lock();
  while (lock.isHeldByOther && std::chrono::steady_clock::now() < end && !isServing(runtime)) {
    ::poll(nullptr, 0, static_cast<int>(kLook.count()));
    lock = runtime.lock();
  }
  return lock;
}

}  // namespace

int SyncProgram::main(std::span<char* const> arguments) {
  if (!arguments.empty()) return answerProgramArgument(arguments.front(), "kelpie-sync", kHelp);
  std::signal(SIGPIPE, SIG_IGN);  // of a log that nobody reads
  ProcessMemory::shareHeaps();
  StderrLog log;
  const RuntimeDirectory runtime;
  auto problem = runtime.prepare();
  RuntimeDirectory::Lock lock;
  if (!problem) {
    lock = acquireLock(runtime);
    problem = lock.problem;
  }
  if (lock.isHeldByOther) {
    log.write("kelpie-sync runs already: " + runtime.lockFile() + " is locked");
    return EXIT_SUCCESS;
  }
  if (!problem) problem = ProcessEnd::onSignals();
  if (problem) {
    log.write(*problem);
    return EXIT_FAILURE;
  }
  SyncProgram(log, runtime).serve();
}

SyncProgram::SyncProgram(Log& log, const RuntimeDirectory& runtime)
    : log_(log),
      runtime_(runtime),
      loop_(log),
      bus_(connectToBus()),
      system_(loop_, runtime, bus_.get(), LinuxBundle::installedImagesFolder()),
      defaults_(system_.platform()) {}

std::unique_ptr<SessionBus> SyncProgram::connectToBus() {
  auto [bus, problem] = SessionBus::connect();
  if (!bus) {
    log_.write(problem + "; going on without the main application");
    return nullptr;
  }
  // With the bus the session ends, and all that could be shown with it.
  bus->setClosedHandler([this] {
    const SessionBus::Loss loss = SessionBus::loss();
    log_.write(loss.reason);
    ProcessEnd::now(loss.status);
  });
  return std::move(bus);
}

void SyncProgram::serve() {
  auto problem = makeController();
  if (!problem) problem = openHostLink();
  if (!problem) problem = checkPort();
  if (problem) {
    log_.write(*problem);
    ProcessEnd::now(EXIT_FAILURE);
  }
  claimName();
  ProcessEnd::now(loop_.run());
}

std::optional<std::string> SyncProgram::makeController() {
  // With the lock held, no other process of this name is about to open a port.
  LinuxMessagePorts(loop_, runtime_.portsFolder())
      .removeStale(std::string(kApplicationGroup) + ".Sync.");
  try {
    KPKelpieSync::initialize(system_.platform());
    controller_ = KPKelpieSync::create(system_.platform(), defaults_);
  } catch (const std::invalid_argument& error) {
    return std::string("the controller cannot be made: ") + error.what();
  }
  if (!controller_)
    return "the controller cannot be made: the limit on open files cannot be raised";
  return std::nullopt;
}

std::optional<std::string> SyncProgram::checkPort() const {
  // The controller lives without a port, but shows nothing then.
  std::error_code ignored;
  const std::string port = runtime_.portsFolder() + "/" + std::string(kApplicationGroup) +
                           ".Sync." + std::to_string(::getpid());
  if (!std::filesystem::is_socket(port, ignored))
    return "the controller cannot be made: no application could reach it";
  return std::nullopt;
}

std::optional<std::string> SyncProgram::openHostLink() {
  hub_.emplace(
      *controller_, system_.finder(),
      [this](const Image& image) { return system_.bundle().imageFile(image.name); },
      system_.platform().queues);
  auto server = HostLinkServer::listen(loop_, runtime_.finderSocket(), *hub_);
  if (!server) return server.problem();
  server_ = *std::move(server);
  return std::nullopt;
}

// Last: a program that sees the name can connect to the host link.
void SyncProgram::claimName() {
  if (!bus_) return;
  const auto lost = [this] {
    log_.write("another process has the bus name " + std::string(kExtensionIdentifier));
  };
  name_.emplace(*bus_, std::string(kExtensionIdentifier), BusName::Handlers{{}, lost});
}

}  // namespace kelpie
