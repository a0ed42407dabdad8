#include "cli/link/ExtensionSession.h"

#include <algorithm>
#include <cstring>

#include "Configuration.h"
#include "cli/link/BusClient.h"
#include "cli/text/FilePath.h"
#include "linux/base/RuntimeDirectory.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

// Has the bus start the extension. What is wrong, or nothing.
std::optional<std::string> startExtension() {
  std::string problem;
  const auto bus = BusClient::connect(problem);
  if (!bus) return "there is no session bus to start it (" + problem + ")";
  if (const auto failure = bus->start(std::string(kExtensionIdentifier)))
    return "the session bus cannot start it (" + *failure + ")";
  return std::nullopt;
}

std::unique_ptr<HostLink> connectOrStart(const std::string& path, bool mayStart,
                                         std::string& problem) {
  int error = 0;
  auto link = HostLink::connect(path, error);
  if (link) return link;
  if (error != ENOENT && error != ECONNREFUSED) {
    problem = "cannot connect to " + path + ": " + std::strerror(error);
    return nullptr;
  }
  problem = "the extension is not running";
  if (!mayStart) return nullptr;
  if (const auto failure = startExtension()) {
    problem += ", and " + *failure + "; start it with: kelpie-sync";
    return nullptr;
  }
  // The extension takes its name once it listens.
  link = HostLink::connect(path, error);
  if (!link)
    problem = "the extension was started but does not listen on " + path + ": " +
              std::strerror(error) + "; see: kelpie doctor";
  return link;
}

}  // namespace

std::unique_ptr<ExtensionSession> ExtensionSession::open(Start start, std::string& problem) {
  auto link = connectOrStart(RuntimeDirectory().finderSocket(), start == Start::IfNeeded, problem);
  if (!link) return nullptr;
  std::unique_ptr<ExtensionSession> session(new ExtensionSession(std::move(link)));
  if (const auto failure = session->greet()) {
    problem = *failure;
    return nullptr;
  }
  return session;
}

std::unique_ptr<ExtensionSession> ExtensionSession::openOrComplain(Context& context) {
  std::string problem;
  auto session = open(Start::IfNeeded, problem);
  if (!session) {
    context.console.complain(context.console.printable(problem));
  } else {
    session->reportTo(context.console);
  }
  return session;
}

ExtensionSession::~ExtensionSession() {
  const std::size_t dropped = link_->droppedLines();
  if (console_ != nullptr && dropped > 0)
    console_->complain("the extension sent lines that are no messages; dropped: " +
                       std::to_string(dropped));
}

bool ExtensionSession::isObserved(std::string_view path) const {
  return std::ranges::any_of(welcome_.directories, [path](const std::string& folder) {
    return FilePath::isWithin(path, folder);
  });
}

void ExtensionSession::note(const json& message) {
  if (link::type(message) == "directories")
    welcome_.directories = link::directories(link::member(message, "urls"));
}

std::optional<json> ExtensionSession::await(std::int64_t id,
                                            std::initializer_list<std::string_view> types,
                                            std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  json message;
  while (link_->receive(message, deadline) == HostLink::Event::Message) {
    const std::string type = link::type(message);
    if (link::isAbout(message, id) && std::ranges::find(types, type) != types.end()) return message;
    note(message);
  }
  return std::nullopt;
}

std::optional<std::string> ExtensionSession::greet() {
  const auto deadline = Clock::now() + kAnswerLimit;
  if (!link_->send(link::hello())) return "the extension closed the connection";
  json message;
  while (true) {
    switch (link_->receive(message, deadline)) {
      case HostLink::Event::Quiet:
        return "the extension does not answer; see: kelpie doctor";
      case HostLink::Event::Message:
        break;
      default:
        return "the extension closed the connection";
    }
    const std::string type = link::type(message);
    if (type == "error") return "the extension refuses: " + link::text(message, "message");
    if (type == "welcome") break;
  }
  welcome_ = link::welcome(message);
  if (welcome_.version != 1) return "the extension speaks another version of the protocol";
  return std::nullopt;
}

}  // namespace kelpie::cli
