#include "cli/commands/WatchCommand.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include "cli/output/BadgeLook.h"

namespace kelpie::cli {
namespace {

// How often it looks whether the extension is back.
constexpr int kReturnPause = 500;  // milliseconds
// The longest time between two questions about items that have no badge.
constexpr std::chrono::milliseconds kLongestPause(8000);

std::string timeOfDay() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  ::localtime_r(&now, &parts);
  std::array<char, 16> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S", &parts)};
}

bool isFolder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::symlink_status(path, ignored).type() ==
         std::filesystem::file_type::directory;
}

}  // namespace

int WatchCommand::run() {
  const std::string& operand = arguments_.operands().front();
  place_ = FilePath::locate(operand);
  if (!place_.exists) {
    console_.complain(console_.printable(operand) + ": nothing is there");
    return kFailure;
  }
  auto session = ExtensionSession::openOrComplain(context_);
  if (!session) return kFailure;
  while (true) {
    switch (follow(*session)) {
      case End::Interrupted:
        return kSuccess;
      case End::NotObserved:
        console_.complain(console_.printable(operand) +
                          ": lies in no observed folder; see: kelpie folders");
        return kFailure;
      case End::ExtensionGone:
        console_.complain("the extension has ended; waiting until it is back");
    }
    session = awaitReturn();
    if (!session) return kSuccess;
    console_.complain("the extension is back");
  }
}

WatchCommand::End WatchCommand::follow(ExtensionSession& session) {
  if (!session.isObserved(place_.path)) return End::NotObserved;
  const std::string folder = place_.isFolder ? place_.path : FilePath::parentOf(place_.path);
  // Before the items are listed: what comes in between is met twice, not missed.
  std::optional<FolderWatch> news;
  if (place_.isFolder) news.emplace(folder);
  BadgeCollector badges(session);
  badges.showFolder(folder);
  wantAll(badges);
  auto pause = BadgeCollector::kFirstPause;
  while (badges.ask()) {
    const auto event = session.receive(Clock::now() + pause,
                                       {interrupt_.descriptor(), news ? news->descriptor() : -1});
    if (interrupt_.hasCome()) return End::Interrupted;
    if (event == HostLink::Event::Ended) break;
    if (event == HostLink::Event::Bytes) {
      const std::vector<BadgeCollector::Change> changes = badges.takeChanges();
      for (const auto& [path, badge] : changes) print(path, badge);
      // The main application may have come or gone, and with it all badges.
      if (!changes.empty()) pause = BadgeCollector::kFirstPause;
    } else if (event == HostLink::Event::Quiet) {
      pause = std::min(2 * pause, kLongestPause);
      if (!badges.askAgain()) break;
    } else if (news) {
      for (const std::string& name : news->newNames()) want(badges, FilePath::join(folder, name));
    }
  }
  return End::ExtensionGone;
}

void WatchCommand::wantAll(BadgeCollector& badges) const {
  badges.want(place_.path, place_.isFolder);
  if (!place_.isFolder) return;
  for (const std::string& name :
       FilePath::namesIn(place_.path).value_or(std::vector<std::string>()))
    want(badges, FilePath::join(place_.path, name));
}

void WatchCommand::want(BadgeCollector& badges, const std::string& path) const {
  badges.want(path, isFolder(path));
}

void WatchCommand::print(const std::string& path, const std::string& badge) {
  const std::string shown = isBadge(badge) ? badge : "";
  const auto entry = printed_.emplace(path, "").first;
  if (entry->second == shown) return;
  entry->second = shown;
  console_.out() << timeOfDay() << "  " << badgeText(console_, shown, widestLabel()) << "  "
                 << console_.printable(path) << '\n'
                 << std::flush;
}

std::unique_ptr<ExtensionSession> WatchCommand::awaitReturn() {
  while (!interrupt_.hasCome()) {
    if (auto session = ExtensionSession::open(ExtensionSession::Start::Never)) {
      (*session)->reportTo(console_);
      return *std::move(session);
    }
    pollfd wait = {interrupt_.descriptor(), POLLIN, 0};
    ::poll(&wait, 1, kReturnPause);
  }
  return nullptr;
}

}  // namespace kelpie::cli
