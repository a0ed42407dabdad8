#include "cli/link/BadgeCollector.h"

#include <algorithm>
#include <utility>

#include "cli/output/BadgeLook.h"
#include "cli/text/FilePath.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

// So many bytes of URLs in a line: far below what a line may hold, whatever must be escaped.
constexpr std::size_t kBytesInALine = std::size_t{1} << 20U;

}  // namespace

BadgeCollector::~BadgeCollector() {
  for (const std::string& folder : shown_) {
    if (!session_.link().send(link::endObserving(folder))) return;
  }
}

void BadgeCollector::showFolder(const std::string& path) {
  if (std::ranges::find(shown_, path) != shown_.end()) return;
  shown_.push_back(path);
  session_.link().send(link::beginObserving(path));
}

void BadgeCollector::want(const std::string& path, bool isFolder) {
  if (items_.size() >= kMaximumItems) return;
  if (!items_.emplace(path, Item{isFolder, std::nullopt}).second) return;
  ++unanswered_;
  questions_.push_back(FilePath::urlOf(path, isFolder));
}

bool BadgeCollector::ask() {
  json urls = json::array();
  std::size_t bytes = 0;
  const auto flush = [&] {
    bytes = 0;
    return urls.empty() || session_.link().send({{"type", "requestBadges"},
                                                 {"urls", std::exchange(urls, json::array())}});
  };
  for (std::string& url : std::exchange(questions_, {})) {
    bytes += url.size();
    urls.push_back(std::move(url));
    if (bytes >= kBytesInALine && !flush()) return false;
  }
  return flush();
}

bool BadgeCollector::askAgain() {
  for (const auto& [path, item] : items_) {
    if (!isBadge(item.badge.value_or("")))
      questions_.push_back(FilePath::urlOf(path, item.isFolder));
  }
  return ask();
}

bool BadgeCollector::settle(std::chrono::milliseconds wait) {
  if (!ask()) return false;
  auto settling = kSettling;
  auto pause = kFirstPause;
  auto lastNews = Clock::now();
  auto nextQuestion = lastNews + pause;
  const auto end = lastNews + 10 * wait;
  json message;
  while (true) {
    const auto limit =
        std::min(end, lastNews + (unanswered_ == 0 ? std::min(wait, settling) : wait));
    const auto next = unanswered_ == 0 ? limit : std::min(limit, nextQuestion);
    switch (session_.link().receive(message, next)) {
      case HostLink::Event::Message:
        if (!take(message).empty()) lastNews = Clock::now();
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

std::vector<std::string> BadgeCollector::take(const json& message) {
  session_.note(message);
  std::vector<std::string> changed;
  if (link::type(message) != "badges") return changed;
  for (auto& [path, identifier] : link::badges(message)) {
    const auto found = items_.find(path);
    if (found == items_.end() || found->second.badge == identifier) continue;
    if (!found->second.badge) --unanswered_;
    found->second.badge = std::move(identifier);
    changed.push_back(std::move(path));
  }
  return changed;
}

std::optional<std::string> BadgeCollector::badge(std::string_view path) const {
  const auto found = items_.find(path);
  return found == items_.end() ? std::nullopt : found->second.badge;
}

}  // namespace kelpie::cli
