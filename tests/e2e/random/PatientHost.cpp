#include "e2e/random/PatientHost.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <utility>

#include "e2e/TestHost.h"

namespace kelpie {
namespace {

using nlohmann::json;

std::optional<ino_t> numberOfFolder(const std::string& path) {
  struct stat status = {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return status.st_ino;
}

std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

}  // namespace

PatientHost::PatientHost(std::string socketPath, std::vector<std::string> top,
                         std::function<bool(const std::string&)> shows)
    : socketPath_(std::move(socketPath)),
      top_(std::move(top)),
      shows_(std::move(shows)),
      socket_(TestSocket::connect(socketPath_)) {}

PatientHost::~PatientHost() { disconnect(); }

void PatientHost::disconnect() {
  if (socket_) ::shutdown(socket_.fd(), SHUT_RDWR);
  if (receiver_.joinable()) receiver_.join();
  socket_.close();
}

bool PatientHost::connect() {
  disconnect();
  shown_.clear();
  asked_.clear();
  {
    const MutexLock lock(mutex_);
    items_.clear();
    paths_.clear();
  }
  socket_ = TestSocket::connect(socketPath_);
  if (!socket_) return false;
  send(json{{"type", "hello"}, {"host", "patient"}, {"version", 1}}.dump());
  receiver_ = std::thread([this, socket = socket_.fd()] { receive(socket); });
  return true;
}

// -- What is on screen ----------------------------------------------------------------------------

void PatientHost::look(int step) {
  std::set<std::string> found;
  for (const std::string& folder : top_) lookInto(folder, step, found);
  // Folders that are gone are shown no more, and what was in them is forgotten.
  std::erase_if(shown_, [&](const auto& folder) {
    const bool isGone = !found.contains(folder.first);
    if (isGone) send(json{{"type", "endObserving"}, {"url", fileURL(folder.first)}}.dump());
    return isGone;
  });
  {
    const MutexLock lock(mutex_);
    std::erase_if(items_, [&](const auto& item) KELPIE_REQUIRES(mutex_) {
      struct stat status = {};
      const bool isGone = lstat(item.first.c_str(), &status) != 0 ||
                          !(found.contains(folderOf(item.first)) || found.contains(item.first));
      if (isGone) paths_.erase(fileURL(item.first));
      return isGone;
    });
  }
  sendAsked();
}

void PatientHost::lookInto(const std::string& folder, int step, std::set<std::string>& found) {
  const std::optional<ino_t> number = numberOfFolder(folder);
  if (!number || !found.insert(folder).second) return;
  const auto shown = shown_.find(folder);
  if (shown == shown_.end() || shown->second != *number) {
    // Another folder of the same name is another window.
    const json url = fileURL(folder);
    if (shown != shown_.end()) send(json{{"type", "endObserving"}, {"url", url}}.dump());
    send(json{{"type", "beginObserving"}, {"url", url}}.dump());
    shown_[folder] = *number;
    const MutexLock lock(mutex_);
    std::erase_if(items_, [&](const auto& item) { return folderOf(item.first) == folder; });
  }
  ask(folder, step);
  std::set<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error))
    names.insert(entry.path());
  for (const std::string& path : names) ask(path, step);
  for (const std::string& path : names)
    if (!path.ends_with("/.git") && shows_(path)) lookInto(path, step, found);
}

void PatientHost::ask(const std::string& path, int step) {
  const std::string url = fileURL(path);
  const MutexLock lock(mutex_);
  const auto [item, isNew] = items_.try_emplace(path);
  if (!isNew) return;
  item->second.askedAt = step;
  paths_[url] = path;
  asked_.push_back(url);
}

void PatientHost::sendAsked() {
  if (asked_.empty()) return;
  send(json{{"type", "requestBadges"}, {"urls", std::exchange(asked_, {})}}.dump());
}

// Whether anybody reads it is seen by what comes of it.
void PatientHost::send(const std::string& line) { socket_.write(line + "\n"); }

// -- What arrives ---------------------------------------------------------------------------------

void PatientHost::receive(int socket) {
  unread_.clear();
  std::array<char, 65536> part{};
  for (;;) {
    const ssize_t count = ::recv(socket, part.data(), part.size(), 0);
    if (count <= 0) return;
    unread_.append(part.data(), static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end = unread_.find('\n'); end != std::string::npos;
         begin = end + 1, end = unread_.find('\n', begin))
      handle(unread_.substr(begin, end - begin));
    unread_.erase(0, begin);
  }
}

void PatientHost::handle(const std::string& line) {
  const auto now = Clock::now();
  const json message = json::parse(line, nullptr, false);
  const MutexLock lock(mutex_);
  if (!message.is_object() || message.value("type", "") == "error")
    complaints_.append(line).append("\n");
  else if (message.value("type", "") == "badges")
    for (const json& pair : message.at("badges")) {
      ++received_;
      const auto path = paths_.find(pair.at(0).get<std::string>());
      if (path == paths_.end()) continue;
      const auto item = items_.find(path->second);
      const auto badge = pair.at(1).get<std::string>();
      if (item == items_.end() || item->second.badge == badge) continue;
      item->second.badge = badge;
      item->second.since = now;
    }
  arrived_.notifyAll();
}

PatientHost::Items PatientHost::items() const {
  const MutexLock lock(mutex_);
  return items_;
}

std::uint64_t PatientHost::received() const {
  const MutexLock lock(mutex_);
  return received_;
}

void PatientHost::waitForMore(std::uint64_t known, Clock::time_point end) const {
  MutexLock lock(mutex_);
  arrived_.waitUntil(lock, end, [&]() KELPIE_REQUIRES(mutex_) { return received_ > known; });
}

std::string PatientHost::complaints() const {
  const MutexLock lock(mutex_);
  return complaints_;
}

}  // namespace kelpie
