#include "cli/link/ExtensionSession.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "Configuration.h"
#include "cli/link/BusClient.h"
#include "linux/base/RuntimeDirectory.h"

namespace kelpie::cli {
namespace {

// Has the bus start the extension. What is wrong, or nothing.
std::optional<std::string> startExtension() {
  const auto bus = BusClient::connect();
  if (!bus) return "there is no session bus to start it (" + bus.problem() + ")";
  if (const auto failure = bus->start(std::string(kExtensionIdentifier)))
    return "the session bus cannot start it (" + *failure + ")";
  return std::nullopt;
}

Result<std::unique_ptr<HostLink>> connectOrStart(const std::string& path, bool mayStart) {
  int error = 0;
  auto link = HostLink::connect(path, error);
  if (link) return link;
  if (error != ENOENT && error != ECONNREFUSED)
    return Problem{"cannot connect to " + path + ": " + std::strerror(error)};
  if (!mayStart) return Problem{"the extension is not running"};
  if (const auto failure = startExtension())
    return Problem{"the extension is not running, and " + *failure +
                   "; start it with: kelpie-sync"};
  // The extension takes its name once it listens.
  link = HostLink::connect(path, error);
  if (link) return link;
  return Problem{"the extension was started but does not listen on " + path + ": " +
                 std::strerror(error) + "; see: kelpie doctor"};
}

}  // namespace

Result<std::unique_ptr<ExtensionSession>> ExtensionSession::open(Start start) {
  auto link = connectOrStart(RuntimeDirectory().finderSocket(), start == Start::IfNeeded);
  if (!link) return Problem{link.problem()};
  std::unique_ptr<ExtensionSession> session(new ExtensionSession(*std::move(link)));
  if (const auto failure = session->greet()) return Problem{*failure};
  return session;
}

std::unique_ptr<ExtensionSession> ExtensionSession::openOrComplain(Context& context) {
  auto session = open(Start::IfNeeded);
  if (!session) {
    context.console.complain(context.console.printable(session.problem()));
    return nullptr;
  }
  (*session)->reportTo(context.console);
  return *std::move(session);
}

ExtensionSession::~ExtensionSession() {
  const std::size_t dropped = client_.droppedLines();
  if (console_ != nullptr && dropped > 0)
    console_->complain("the extension sent lines that are no messages; dropped: " +
                       std::to_string(dropped));
}

bool ExtensionSession::flush() {
  thread_.check();
  return link_->send(client_.takeOutput());
}

HostLink::Event ExtensionSession::receive(Clock::time_point deadline,
                                          std::initializer_list<int> others) {
  thread_.check();
  if (!flush()) return HostLink::Event::Ended;
  std::string bytes;
  const auto event = link_->receive(bytes, deadline, others);
  const auto now = Clock::now();
  if (event == HostLink::Event::Bytes) client_.received(bytes, now);
  client_.tick(now);
  return event;
}

bool ExtensionSession::receiveUntil(const std::function<bool()>& isDone) {
  thread_.check();
  while (!isDone()) {
    // Something is due while a question waits; without one there is nothing to wait for.
    const auto due = client_.wakeAt();
    if (!due || receive(*due) == HostLink::Event::Ended) return isDone();
  }
  return true;
}

std::optional<std::string> ExtensionSession::greet() {
  client_.connecting();
  client_.connected(Clock::now());
  if (!receiveUntil([this] { return client_.isReady() || client_.shouldClose(); }))
    return "the extension closed the connection";
  if (client_.isReady()) return std::nullopt;
  const std::string& problem = client_.problem();
  return problem == HostClient::kNoAnswer ? problem + "; see: kelpie doctor" : problem;
}

}  // namespace kelpie::cli
