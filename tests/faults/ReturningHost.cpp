#include "faults/ReturningHost.h"

#include <poll.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "e2e/TestHost.h"

namespace kelpie {
namespace {

using nlohmann::json;

constexpr int kMomentOfWork = 5;  // ms

// Where the enabled item at the end of the titles is; empty when it is not there.
std::vector<std::size_t> find(const json& menu, const std::vector<std::string>& titles,
                              std::size_t level = 0) {
  if (!menu.is_object()) return {};
  const json& items = menu.at("items");
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].at("title") != titles.at(level)) continue;
    if (level + 1 == titles.size()) {
      if (items[i].at("enabled") == true) return {i};
      continue;
    }
    std::vector<std::size_t> path = find(items[i].at("submenu"), titles, level + 1);
    if (path.empty()) continue;
    path.insert(path.begin(), i);
    return path;
  }
  return {};
}

}  // namespace

bool ReturningHost::send(const json& message) {
  if (socket_ && socket_->write(message.dump() + "\n")) return true;
  leave();
  return false;
}

void ReturningHost::leave() {
  socket_.reset();
  unread_.clear();
  badges_.clear();
  asked_.clear();
  answers_.clear();
}

void ReturningHost::connect() {
  TestSocket socket = TestSocket::connect(socketPath_);
  if (!socket) return;
  socket_ = std::move(socket);
  send({{"type", "hello"}, {"host", "test"}, {"version", 1}});
  for (const std::string& folder : shown_) {
    send({{"type", "beginObserving"}, {"url", fileURL(folder)}});
    ask(folder);
  }
}

void ReturningHost::show(const std::string& folder) {
  if (!shown_.insert(folder).second) send({{"type", "endObserving"}, {"url", fileURL(folder)}});
  send({{"type", "beginObserving"}, {"url", fileURL(folder)}});
  ask(folder);
}

void ReturningHost::ask(const std::string& folder) {
  json urls = json::array({fileURL(folder)});
  asked_.insert(folder);
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
    urls.push_back(fileURL(entry.path()));
    asked_.insert(entry.path());
  }
  send({{"type", "requestBadges"}, {"urls", urls}});
}

void ReturningHost::work() {
  if (!socket_) connect();
  pollfd ready = {socket_ ? socket_->fd() : -1, POLLIN, 0};
  if (::poll(&ready, 1, kMomentOfWork) <= 0) return;
  const std::string bytes = socket_->read();
  unread_ += bytes;
  for (std::size_t end = unread_.find('\n'); end != std::string::npos; end = unread_.find('\n')) {
    const json message = json::parse(unread_.substr(0, end), nullptr, false);
    unread_.erase(0, end + 1);
    if (message.is_object()) handle(message);
  }
  if (bytes.empty() && socket_->isClosed()) leave();
}

void ReturningHost::handle(const json& message) {
  const std::string type = message.value("type", "");
  if (type == "badges")
    for (const json& pair : message.at("badges")) badges_[pair.at(0)] = pair.at(1);
  if (message.contains("id") && message.at("id").is_number())
    answers_[message.at("id")] = type == "menu" ? message.at("menu") : json(type);
}

bool ReturningHost::workUntil(const std::function<bool()>& done, const IsTooLate& isTooLate) {
  while (!done()) {
    if (isTooLate()) return false;
    work();
  }
  return true;
}

std::string ReturningHost::badge(const std::string& path) const {
  const auto found = badges_.find(fileURL(path));
  return found == badges_.end() || found->second == "KPEmptyBadge" ? "" : found->second;
}

json ReturningHost::menu(const std::vector<std::string>& paths, const IsTooLate& isTooLate) {
  json urls = json::array();
  for (const std::string& path : paths) urls.push_back(fileURL(path));
  const int id = ++requests_;
  if (!send({{"type", "menu"}, {"id", id}, {"kind", 0}, {"selected", urls}})) return {};
  workUntil([&] { return !socket_ || answers_.contains(id); }, isTooLate);
  return answers_.contains(id) ? answers_.at(id) : json();
}

bool ReturningHost::choose(const std::vector<std::string>& paths,
                           const std::vector<std::string>& titles, const IsTooLate& isTooLate) {
  std::vector<std::size_t> item;
  int asked = 0;
  while (item.empty()) {
    if (isTooLate()) return false;
    work();
    asked = requests_ + 1;
    item = find(menu(paths, isTooLate), titles);
  }
  const int id = ++requests_;
  if (!send({{"type", "choose"}, {"id", id}, {"menu", asked}, {"path", item}})) return false;
  workUntil([&] { return !socket_ || answers_.contains(id); }, isTooLate);
  return answers_.contains(id) && answers_.at(id) == "done";
}

}  // namespace kelpie
