#include "cli/BadgeCollector.h"

#include <algorithm>
#include <utility>

#include "cli/FilePath.h"

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
  if (badges_.size() >= kMaximumItems || !badges_.emplace(path, std::nullopt).second) return;
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

bool BadgeCollector::settle(std::chrono::milliseconds wait) {
  if (!ask()) return false;
  const auto end = Clock::now() + 10 * wait;
  auto lastNews = Clock::now();
  json message;
  while (true) {
    const auto patience = unanswered_ == 0 ? std::min(wait, kSettling) : wait;
    switch (session_.link().receive(message, std::min(end, lastNews + patience))) {
      case HostLink::Event::Message:
        if (!take(message).empty()) lastNews = Clock::now();
        break;
      case HostLink::Event::Quiet:
        return true;
      default:
        return false;
    }
    if (Clock::now() >= end) return true;
  }
}

std::vector<std::string> BadgeCollector::take(const json& message) {
  session_.note(message);
  std::vector<std::string> items;
  if (link::type(message) != "badges") return items;
  for (auto& [path, identifier] : link::badges(message)) {
    const auto found = badges_.find(path);
    if (found == badges_.end()) continue;
    if (!found->second) --unanswered_;
    found->second = std::move(identifier);
    items.push_back(std::move(path));
  }
  return items;
}

std::optional<std::string> BadgeCollector::badge(std::string_view path) const {
  const auto found = badges_.find(path);
  return found == badges_.end() ? std::nullopt : found->second;
}

}  // namespace kelpie::cli
