#include "FakeExtension.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kelpie::cli {
namespace {

// Waits for one of two descriptors. Whether it is the first, and not the second.
bool isFirstReady(int first, int second) {
  std::array<pollfd, 2> waits = {{{first, POLLIN, 0}, {second, POLLIN, 0}}};
  ::poll(waits.data(), waits.size(), -1);
  return waits[1].revents == 0;
}

}  // namespace

FakeExtension::FakeExtension()
    : welcome({{"type", "welcome"},
               {"version", 1},
               {"badges", Json::object()},
               {"images", Json::object()},
               {"directories", Json::array()}}) {}

FakeExtension::~FakeExtension() { stop(); }

void FakeExtension::start(const std::string& path) {
  path_ = path;
  ::unlink(path.c_str());
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  path.copy(std::begin(address.sun_path), path.size());
  listener_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0)
      << path;
  ASSERT_EQ(::listen(listener_.get(), 8), 0);
  stop_.reset(::eventfd(0, EFD_CLOEXEC));
  thread_ = std::thread([this] { serve(); });
}

void FakeExtension::stop() {
  if (!thread_.joinable()) return;
  const std::uint64_t one = 1;
  EXPECT_EQ(::write(stop_.get(), &one, sizeof one), static_cast<ssize_t>(sizeof one));
  thread_.join();
  listener_.reset();
  ::unlink(path_.c_str());
}

void FakeExtension::say(const Json& message) {
  const MutexLock lock(mutex_);
  write(message.dump() + '\n');
}

void FakeExtension::sayBadge(const std::string& url, const std::string& identifier) {
  const Json badge = Json::array({url, identifier});
  say({{"type", "badges"}, {"badges", Json::array({badge})}});
}

std::vector<nlohmann::json> FakeExtension::heard() const {
  const MutexLock lock(mutex_);
  return heard_;
}

std::vector<nlohmann::json> FakeExtension::heard(const std::string& type) const {
  std::vector<Json> messages = heard();
  std::erase_if(messages, [&](const Json& message) { return message["type"] != type; });
  return messages;
}

bool FakeExtension::waitFor(const std::string& type) const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (heard(type).empty()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

void FakeExtension::serve() {
  while (isFirstReady(listener_.get(), stop_.get())) {
    {
      const MutexLock lock(mutex_);
      host_.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }
    serveHost();
    const MutexLock lock(mutex_);
    host_.reset();
  }
}

void FakeExtension::serveHost() {
  std::string buffer;
  while (isFirstReady(host_.get(), stop_.get())) {
    std::array<char, 65536> piece;
    const ssize_t size = ::recv(host_.get(), piece.data(), piece.size(), 0);
    if (size <= 0) return;
    buffer.append(piece.data(), static_cast<std::size_t>(size));
    for (std::size_t end = 0; (end = buffer.find('\n')) != std::string::npos;) {
      const Json message = Json::parse(buffer.substr(0, end), nullptr, false);
      buffer.erase(0, end + 1);
      const MutexLock lock(mutex_);
      answer(message);
      heard_.push_back(message);
    }
  }
}

void FakeExtension::answer(const Json& message) {
  const std::string type = message.value("type", "");
  if (type == "hello" && answersHello) write(welcome.dump() + '\n' + noise);
  if (type == "requestBadges" && passesOver-- <= 0) {
    Json list = Json::array();
    for (const std::string url : message["urls"])
      if (const auto found = badges.find(url); found != badges.end())
        list.push_back(Json::array({url, found->second}));
    if (!list.empty()) {
      write(Json({{"type", "badges"}, {"badges", list}}).dump() + '\n' +
            std::exchange(afterBadges, ""));
    }
  }
  if (type == "menu")
    write(Json({{"type", "menu"}, {"id", message["id"]}, {"menu", menu}}).dump() + '\n');
  if (type == "choose") {
    Json reply = {{"type", "done"}, {"id", message["id"]}};
    if (!refusal.empty()) reply = {{"type", "error"}, {"id", message["id"]}, {"message", refusal}};
    write(reply.dump() + '\n');
  }
}

void FakeExtension::write(const std::string& bytes) {
  std::string_view rest = bytes;
  while (!rest.empty()) {
    const ssize_t size = ::send(host_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (size <= 0) return;  // the host is gone
    rest.remove_prefix(static_cast<std::size_t>(size));
  }
}

}  // namespace kelpie::cli
