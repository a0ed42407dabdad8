#include "cli/link/BadgeCollector.h"

#include <algorithm>
#include <utility>

#include "cli/output/BadgeLook.h"

namespace kelpie::cli {

BadgeCollector::BadgeCollector(ExtensionSession& session) : session_(session) {
  session_.tellOfBadges([this](const std::vector<std::string>& paths) { note(paths); });
}

BadgeCollector::~BadgeCollector() {
  session_.tellOfBadges({});
  for (const std::string& folder : shown_) session_.client().hideFolder(folder);
  session_.flush();
}

void BadgeCollector::showFolder(const std::string& path) {
  thread_.check();
  if (std::ranges::find(shown_, path) != shown_.end()) return;
  shown_.push_back(path);
  session_.client().showFolder(path);
}

void BadgeCollector::want(const std::string& path, bool isFolder) {
  thread_.check();
  if (answered_.size() >= kMaximumItems) return;
  if (!answered_.emplace(path, false).second) return;
  ++unanswered_;
  session_.client().want(path, isFolder);
}

bool BadgeCollector::ask() {
  thread_.check();
  return session_.flush();
}

bool BadgeCollector::askAgain() {
  thread_.check();
  for (const auto& [path, isAnswered] : answered_)
    if (!isBadge(badge(path).value_or(""))) session_.client().askAgain(path);
  return session_.flush();
}

bool BadgeCollector::settle(std::chrono::milliseconds wait) {
  thread_.check();
  if (!ask()) return false;
  auto settling = kSettling;
  auto pause = kFirstPause;
  auto lastNews = Clock::now();
  auto nextQuestion = lastNews + pause;
  const auto end = lastNews + 10 * wait;
  while (true) {
    const auto limit =
        std::min(end, lastNews + (unanswered_ == 0 ? std::min(wait, settling) : wait));
    const auto next = unanswered_ == 0 ? limit : std::min(limit, nextQuestion);
    switch (session_.receive(next)) {
      case HostLink::Event::Bytes:
        if (!takeChanges().empty()) lastNews = Clock::now();
        break;
      case HostLink::Event::Quiet:
        if (Clock::now() >= limit) return true;
        settling = kOpening;
        pause *= 2;
        nextQuestion = Clock::now() + pause;
        if (!askAgain()) return false;
        break;
      default:
        return false;
    }
    if (Clock::now() >= end) return true;
  }
}

void BadgeCollector::note(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    const auto found = answered_.find(path);
    if (found == answered_.end()) continue;
    if (!std::exchange(found->second, true)) --unanswered_;
    changes_.push_back({path, badge(path).value_or("")});
  }
}

std::vector<BadgeCollector::Change> BadgeCollector::takeChanges() {
  thread_.check();
  return std::exchange(changes_, {});
}

std::optional<std::string> BadgeCollector::badge(std::string_view path) const {
  thread_.check();
  return session_.client().badge(path);
}

}  // namespace kelpie::cli
