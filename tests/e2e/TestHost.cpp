#include "e2e/TestHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <span>
#include <string_view>

namespace kelpie {

using nlohmann::json;

namespace {

// Titles may occur more than once, such as the "More" of each group.
std::vector<std::size_t> findIn(const json& menu, std::span<const std::string> titles) {
  if (!menu.is_object() || titles.empty()) return {};
  const json& items = menu.at("items");
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].at("title") != titles.front()) continue;
    std::vector<std::size_t> path = {i};
    if (titles.size() == 1) return path;
    const std::vector<std::size_t> rest = findIn(items[i].at("submenu"), titles.subspan(1));
    path.insert(path.end(), rest.begin(), rest.end());
    if (!rest.empty()) return path;
  }
  return {};
}

}  // namespace

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
  std::size_t begin = 0;
  for (std::size_t end = unread_.find('\n'); end != std::string::npos;
       begin = end + 1, end = unread_.find('\n', begin)) {
    messages_.push_back(json::parse(unread_.substr(begin, end - begin), nullptr, false));
    EXPECT_TRUE(messages_.back().is_object()) << unread_.substr(begin, end - begin);
    note(messages_.back());
  }
  unread_.erase(0, begin);
}

void TestHost::note(const json& message) {
  if (message.value("type", "") != "badges") return;
  for (const json& pair : message.at("badges")) badges_[pair.at(0)] = pair.at(1);
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

std::string TestHost::badge(const std::string& url) {
  readLines();
  const auto found = badges_.find(url);
  return found == badges_.end() ? "none" : found->second;
}

bool TestHost::waitForBadge(const std::string& url, const std::string& badge) {
  if (processes_.waitUntil([&] { return this->badge(url) == badge; })) return true;
  ADD_FAILURE() << url << " has the badge \"" << this->badge(url) << "\", not " << badge;
  return false;
}

// -- As a user, who sees paths --------------------------------------------------------------------

void TestHost::show(const std::string& folder) {
  send({{"type", "beginObserving"}, {"url", fileURL(folder)}});
  std::vector<std::string> paths = {folder};
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    paths.push_back(entry.path());
  ask(paths);
}

void TestHost::hide(const std::string& folder) {
  send({{"type", "endObserving"}, {"url", fileURL(folder)}});
}

void TestHost::ask(const std::vector<std::string>& paths) {
  json urls = json::array();
  for (const std::string& path : paths) urls.push_back(fileURL(path));
  send({{"type", "requestBadges"}, {"urls", urls}});
}

bool TestHost::sees(const std::string& path, const std::string& badge) {
  return waitForBadge(fileURL(path), badge);
}

// -- Menus ----------------------------------------------------------------------------------------

json TestHost::menu(int kind, const std::vector<std::string>& selected) {
  const int id = ++requests_;
  menu_ = id;
  send({{"type", "menu"}, {"id", id}, {"kind", kind}, {"selected", selected}});
  const json answer = waitFor("menu");
  EXPECT_EQ(answer.value("id", 0), id);
  lastMenu_ = answer.value("menu", json());
  return lastMenu_;
}

std::vector<std::size_t> TestHost::find(const std::vector<std::string>& titles) const {
  return findIn(lastMenu_, titles);
}

json TestHost::waitForItem(const std::vector<std::string>& paths,
                           const std::vector<std::string>& titles, int kind) {
  std::vector<std::string> urls;
  for (const std::string& path : paths) urls.push_back(fileURL(path));
  const auto end = std::chrono::steady_clock::now() + ChildProcess::kLongEnough;
  while (std::chrono::steady_clock::now() < end) {
    json level = menu(kind, urls);
    json item;
    for (const std::size_t index : find(titles)) {
      item = level.at("items").at(index);
      level = item.at("submenu");
    }
    if (item.is_object() && item.at("enabled") == true) return item;
    // Until something changes, the next menu is the same.
    processes_.letTimePass();
  }
  ADD_FAILURE() << "no item " << json(titles) << " in " << lastMenu_;
  return {};
}

bool TestHost::choose(const std::vector<std::string>& paths,
                      const std::vector<std::string>& titles) {
  if (waitForItem(paths, titles).is_null()) return false;
  return !choose(find(titles)).is_null();
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

std::string placeholderOf(const std::string& path) { return path + " \x0E.kelpieDeleted"; }

}  // namespace kelpie
