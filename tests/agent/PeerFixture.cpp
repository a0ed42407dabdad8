#include "agent/PeerFixture.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include "foundation/URL.h"
#include "protocol/MessageKeys.h"

namespace kelpie::agent {
namespace {

constexpr std::chrono::seconds kLimit{20};
// Longer than a burst, a second look and what the pace of readings adds to them.
constexpr std::chrono::milliseconds kQuiet{700};

}  // namespace

PeerFixture::PeerFixture() {
  ports_.setListening(kPort, true);
  ports_.setListening(kOtherPort, true);
}

PeerFixture::~PeerFixture() = default;

void PeerFixture::start(const std::string& git, std::size_t maximumWatches,
                        std::chrono::milliseconds idleTime, std::size_t neighbours) {
  watcher_ = std::make_unique<DirectoryWatcher>(maximumWatches);
  watching_ =
      loop_.watch(watcher_->descriptor(), G_IO_IN, [this](GIOCondition) { watcher_->dispatch(); });
  watchingNames_ =
      loop_.watch(names_.descriptor(), G_IO_IN, [this](GIOCondition) { names_.dispatch(); });
  extensions_ =
      std::make_unique<ExtensionPorts>(ExtensionPort::Services{loop_, queues_, ports_}, "g");
  registry_ = std::make_unique<RepositoryRegistry>(
      SessionServices{loop_, queues_, *watcher_, names_, files_, notifier_, GitCommand(git, "/"),
                      std::make_shared<ReadingSlots>(loop_, 4), idleTime, neighbours});
  extensions_->setCallbacks({[this](const std::string& name) { registry_->gone(name); },
                             [this](const std::string& name) { registry_->renewed(name); }});
  errors_ = std::make_unique<ExtensionErrors>(log_, notifier_);
  peer_ = std::make_unique<ProtocolPeer>(
      ProtocolPeer::Services{log_, *extensions_, *registry_, actions_, *errors_});
  ASSERT_TRUE(peer_->listen(ports_, "g"));
}

bool PeerFixture::waitFor(const std::function<bool()>& done) {
  return loop_.runUntil(done, kLimit);
}

void PeerFixture::settle() {
  std::size_t seen = 0;
  do {
    seen = ports_.sent().size();
    loop_.runUntil([] { return false; }, kQuiet);
  } while (seen != ports_.sent().size());
}

void PeerFixture::send(std::string_view selector, const Object& argument, const std::string& port) {
  ports_.deliver("g.App", kApplicationMessage,
                 Object(Dictionary{{kMessageSelectorKey, selector},
                                   {kMessageArgumentKey, argument},
                                   {kMessagePortNameKey, port}}));
}

void PeerFixture::open(std::string_view folder, bool shallow, const std::string& port) {
  send("openRepository:portName:",
       Dictionary{{"url", URL::fileURLWithPath(sandbox_.path(folder))}, {"shallow", shallow}},
       port);
}

FileIdentifier PeerFixture::identifierOf(std::string_view folder) const {
  return URL::fileURLWithPath(sandbox_.path(folder)).identifier(files_).value();
}

std::vector<std::string> PeerFixture::selectors(const std::string& port) const {
  std::vector<std::string> result;
  for (const auto& message : ports_.sent())
    if (message.port == port && message.id == kExtensionMessage)
      result.push_back(message.content[kMessageSelectorKey].stringValue());
  return result;
}

std::size_t PeerFixture::count(std::string_view selector, const std::string& port) const {
  return static_cast<std::size_t>(std::ranges::count(selectors(port), selector));
}

bool PeerFixture::waitForCount(std::string_view selector, std::size_t wanted,
                               const std::string& port) {
  return waitFor([&] { return count(selector, port) >= wanted; });
}

Object PeerFixture::lastMessage(std::string_view selector, const std::string& port) const {
  Object found;
  for (const auto& message : ports_.sent())
    if (message.port == port && message.content[kMessageSelectorKey].stringValue() == selector)
      found = message.content;
  return found;
}

Object PeerFixture::last(std::string_view selector, const std::string& port) const {
  return lastMessage(selector, port)[kMessageArgumentKey];
}

std::uint16_t PeerFixture::word(std::string_view item, const std::string& port) const {
  return last("setStatusInfo:", port)["KPRepositoryStatus"][identifierOf(item).toObject()]
      .at(0)
      .unsignedShortValue();
}

}  // namespace kelpie::agent
