#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "harness/FuzzTarget.h"
#include "harness/QuietLoop.h"
#include "harness/ReadingCost.h"
#include "harness/TextPieces.h"
#include "linux/hostlink/FakeFinderSync.h"
#include "linux/hostlink/HostConnection.h"
#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostSession.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "protocol/hostlink/HostLineCodec.h"
#include "support/EventLog.h"
#include "support/ManualQueues.h"

// What hosts say to the extension. The pieces go to two hosts, in turns, as bytes of their
// connections; the first byte says where each piece is cut. The extension has a menu, and sets
// badges after each piece. All it answers must be lines that a host understands.
namespace {

using namespace kelpie;

constexpr ReadingCost::Limits kServerLimits{
    .freeBytes = 500'000, .bytesPerByte = 160, .freeSteps = 250'000, .stepsPerByte = 160};
// So short that some inputs have a line beyond it.
constexpr std::size_t kServerLine = std::size_t{64} << 10U;

struct Buffered {
  std::string text;
  std::size_t taken = 0;

  // Takes what has come; requires of each whole line that a host understands it.
  void take(int socket);
};

void Buffered::take(int socket) {
  std::array<char, 65536> bytes{};
  for (ssize_t size = 0; (size = ::recv(socket, bytes.data(), bytes.size(), 0)) > 0;)
    text.append(bytes.data(), static_cast<std::size_t>(size));
  std::string_view rest = text;
  taken += rest.size();
  for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos;) {
    const auto line = hostlink::readExtensionLine(rest.substr(0, end));
    require(line && !std::holds_alternative<hostlink::OtherLine>(*line));
    rest.remove_prefix(end + 1);
  }
  text.erase(0, text.size() - rest.size());
  taken -= text.size();
}

// One host: its end of the connection, and what serves it.
class ServedHost {
 public:
  explicit ServedHost(HostLinkHub& hub) {
    auto ends = QuietLoop::sockets();
    own_ = std::move(ends.first);
    const HostConnection::Handlers handlers{
        [this](std::string_view line) { return session_->handleLine(line); },
        [this] { session_->handleOverlongLine(); }, [this](std::string_view) { hasEnded_ = true; }};
    connection_ = std::make_unique<HostConnection>(QuietLoop::shared().loop(),
                                                   std::move(ends.second), kServerLine, handlers);
    session_ = std::make_unique<HostSession>(
        hub, [this](std::string line) { connection_->send(std::move(line)); });
  }

  void say(std::string_view bytes) {
    while (!bytes.empty() && !hasEnded_) {
      const ssize_t sent = ::send(own_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
      hear();
    }
  }
  // Takes all that is there; the connection writes more when there is room.
  void hear() {
    std::size_t before = 0;
    do {
      before = heard_.taken;
      QuietLoop::runDue();
      heard_.take(own_.get());
    } while (heard_.taken > before);
  }

  std::size_t heard() const { return heard_.taken; }

 private:
  UniqueFd own_;
  bool hasEnded_ = false;
  Buffered heard_;
  std::unique_ptr<HostConnection> connection_;
  std::unique_ptr<HostSession> session_;
};

Menu exampleMenu() {
  Menu more("More");
  more.items.emplace_back("Ignore", "ignoreItems:");
  MenuItem disabled("Disabled", "push:");
  disabled.enabled = false;
  MenuItem submenu("More");
  submenu.submenu = std::make_shared<Menu>(more);
  submenu.image = Image{"ApplicationIcon"};
  Menu menu;
  menu.items = {MenuItem("Stage", "stage:"), disabled, submenu, MenuItem("Unknown", "x:")};
  return menu;
}

void serveHosts(FuzzTarget::Input input) {
  if (input.empty()) return;
  const std::size_t cut = input[0];
  TextPieces pieces(textOf(input.subspan(1)));

  const std::shared_ptr<SerialQueue> queue = QuietLoop::shared().loop().queue();
  LinuxFinderSyncController finder(queue);
  finder.setBadgeImage(Image{"CurrentBadge"}, "Current", "KPCurrentBadge");
  finder.setDirectoryURLs({URL::fileURLWithPath("/r", true)});
  FakeFinderSync extension(finder);
  extension.menus[0] = exampleMenu();
  extension.knownActions = {"stage:", "ignoreItems:"};
  extension.raises = cut % 16 == 15;
  EventLog events;
  ManualQueues queues(events);
  HostLinkHub hub(
      extension, finder, [](const Image& image) { return "/i/" + image.name; }, queues);
  {
    const ReadingCost cost;
    std::array<ServedHost, 2> hosts{ServedHost(hub), ServedHost(hub)};
    for (std::size_t i = 0; i < pieces.all().size(); ++i) {
      const std::string_view piece = pieces.all()[i];
      const std::size_t half = std::min(cut, piece.size());
      hosts.at(i % 2).say(piece.substr(0, half));
      hosts.at(i % 2).say(piece.substr(half));
      for (const char* path : {"/r/a", "/r/b/c", "/elsewhere"})
        finder.setBadgeIdentifier(i % 4 < 2 ? "KPCurrentBadge" : "", URL::fileURLWithPath(path));
      if (i % 8 == 7)
        finder.setDirectoryURLs({URL::fileURLWithPath(i % 16 == 7 ? "/s" : "/r", true)});
      for (ServedHost& host : hosts) host.hear();
      queues.runAll();
    }
    // Answers cost something, too, as does their being read here.
    const std::size_t heard = hosts[0].heard() + hosts[1].heard();
    cost.check("HostLinkServerFuzz", pieces.sizeWith(TextPieces::kBytesOfHostLine) + heard,
               kServerLimits);
  }
  QuietLoop::runDue();
}

const FuzzTarget kHostLinkServerFuzz("HostLinkServerFuzz", serveHosts);

}  // namespace
