#include "e2e/TestHost.h"

#include <gtest/gtest.h>

#include <array>
#include <cctype>

namespace kelpie {

using nlohmann::json;

TestHost::TestHost(ProcessHost& processes)
    : processes_(processes), socket_(TestSocket::connect(processes.runtime().finderSocket())) {
  EXPECT_TRUE(socket_) << "nobody serves hosts";
}

void TestHost::send(const json& message) { sendText(message.dump() + "\n"); }

void TestHost::sendText(std::string_view text) { EXPECT_TRUE(socket_.write(text)); }

json TestHost::hello() {
  send({{"type", "hello"}, {"host", "test"}, {"version", 1}});
  return waitFor("welcome");
}

void TestHost::readLines() {
  unread_ += socket_.read();
  for (std::size_t end = unread_.find('\n'); end != std::string::npos; end = unread_.find('\n')) {
    messages_.push_back(json::parse(unread_.substr(0, end), nullptr, false));
    EXPECT_TRUE(messages_.back().is_object()) << unread_.substr(0, end);
    unread_.erase(0, end + 1);
  }
}

json TestHost::waitFor(const std::string& type) {
  json found;
  processes_.waitUntil([&] {
    readLines();
    while (found.is_null() && !messages_.empty()) {
      if (messages_.front().value("type", "") == type) found = messages_.front();
      messages_.pop_front();
    }
    return !found.is_null();
  });
  return found;
}

bool TestHost::waitForBadge(const std::string& url, const std::string& badge) {
  std::string last;
  const bool came = processes_.waitUntil([&] {
    readLines();
    for (; !messages_.empty(); messages_.pop_front()) {
      if (messages_.front().value("type", "") != "badges") continue;
      for (const json& pair : messages_.front().at("badges"))
        if (pair.at(0) == url) last = pair.at(1);
    }
    return last == badge;
  });
  if (!came) ADD_FAILURE() << url << " has the badge \"" << last << "\", not " << badge;
  return came;
}

json TestHost::menu(int kind, const std::vector<std::string>& selected) {
  const int id = ++requests_;
  menu_ = id;
  send({{"type", "menu"}, {"id", id}, {"kind", kind}, {"selected", selected}});
  const json answer = waitFor("menu");
  EXPECT_EQ(answer.value("id", 0), id);
  return answer.value("menu", json());
}

json TestHost::choose(const std::vector<std::size_t>& path) {
  send({{"type", "choose"}, {"id", ++requests_}, {"menu", menu_}, {"path", path}});
  return waitFor("done");
}

bool TestHost::isClosed() { return socket_.isClosed(); }

std::string fileURL(const std::string& path) {
  constexpr std::array<char, 17> kDigits = {"0123456789ABCDEF"};
  std::string url = "file://";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0 || std::string_view("/-._~").find(c) != std::string_view::npos) {
      url += c;
    } else {
      url += '%';
      url += kDigits.at(byte >> 4U);
      url += kDigits.at(byte & 0x0FU);
    }
  }
  return url;
}

}  // namespace kelpie
