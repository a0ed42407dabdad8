#include "linux/hostlink/HostLinkServer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>
#include <thread>
#include <utility>

#include "FakeFinderSync.h"
#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"
#include "protocol/hostlink/HostLines.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/ManualQueues.h"

namespace kelpie {
namespace {

using nlohmann::json;

// Runs the main loop until `condition` holds; fails the test when it does not.
template <class Condition>
void runUntil(Condition condition) {
  const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "it never came";
    while (g_main_context_iteration(nullptr, FALSE) != 0) {
    }
    std::this_thread::yield();
  }
}

// A host with a plain socket.
class Client {
 public:
  explicit Client(const std::string& path) : fd_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    ::fcntl(fd_, F_SETFL, O_NONBLOCK);
    // The server takes its connections while the context runs.
    runUntil([&] {
      return ::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    });
  }
  ~Client() { close(); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void close() {
    if (fd_ >= 0) ::close(std::exchange(fd_, -1));
  }
  // Writes as much as the socket takes while the server runs.
  void write(std::string_view bytes) {
    runUntil([&] {
      const ssize_t size = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (size > 0) bytes.remove_prefix(static_cast<std::size_t>(size));
      return bytes.empty();
    });
  }
  void say(const json& message) { write(message.dump() + "\n"); }
  // The next line, which must come.
  json hear() {
    runUntil([&] { return poll() && buffer_.find('\n') != std::string::npos; });
    const auto end = buffer_.find('\n');
    const json line = json::parse(buffer_.substr(0, end), nullptr, false);
    buffer_.erase(0, end + 1);
    return line;
  }
  // Whether the server has ended the connection and everything was read.
  bool isEnded() {
    poll();
    return ended_;
  }

 private:
  bool poll() {
    std::array<char, 65536> piece;
    ssize_t size = 0;
    while ((size = ::recv(fd_, piece.data(), piece.size(), 0)) > 0)
      buffer_.append(piece.data(), static_cast<std::size_t>(size));
    if (size == 0 || errno == ECONNRESET) ended_ = true;
    return true;
  }

  int fd_;
  bool ended_ = false;
  std::string buffer_;
};

// What a process that ended by itself leaves: a socket's file on which nobody listens.
void leaveSocket(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
  const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

class HostLinkServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "/linkXXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder = pattern;
    path = folder + "/finder";
    start();
  }
  void TearDown() override {
    server.reset();
    std::filesystem::remove_all(folder);
  }
  void start() {
    auto made = HostLinkServer::listen(loop, path, hub);
    ASSERT_TRUE(made) << made.problem();
    server = *std::move(made);
  }
  static json hello() { return {{"type", "hello"}, {"host", "test"}, {"version", 1}}; }

  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  ManualQueues queues{events};
  LinuxFinderSyncController finder{queues.mainQueue()};
  FakeFinderSync extension{finder};
  HostLinkHub hub{extension, finder, [](const Image& image) { return "/images/" + image.name; },
                  queues};
  std::string folder;
  std::string path;
  std::unique_ptr<HostLinkServer> server;
};

TEST_F(HostLinkServerTest, ServesSeveralHosts) {
  Client first(path);
  Client second(path);
  first.say(hello());
  second.say(hello());
  EXPECT_EQ(first.hear()["type"], "welcome");
  EXPECT_EQ(second.hear()["type"], "welcome");
  first.say({{"type", "beginObserving"}, {"url", "file:///r"}});
  runUntil([&] { return extension.calls.size() == 1; });
  finder.setBadgeIdentifier("KPCurrentBadge", URL::fileURLWithPath("/r/a"));
  queues.runAll();
  EXPECT_EQ(first.hear()["badges"][0][0], "file:///r/a");
}

TEST_F(HostLinkServerTest, AHostThatLeavesLeavesItsFolders) {
  Client host(path);
  host.say(hello());
  host.say({{"type", "beginObserving"}, {"url", "file:///r"}});
  runUntil([&] { return extension.calls.size() == 1; });
  host.close();
  runUntil([&] { return server->connectionCount() == 0; });
  EXPECT_EQ(extension.calls.back(), "end file:///r");
  EXPECT_TRUE(log.lines().empty()) << "leaving is nothing to log";
}

TEST_F(HostLinkServerTest, TheErrorOfAWrongVersionArrivesBeforeTheEnd) {
  Client host(path);
  host.say({{"type", "hello"}, {"version", 2}});
  EXPECT_EQ(host.hear()["type"], "error");
  runUntil([&] { return host.isEnded(); });
  EXPECT_EQ(server->connectionCount(), 0U);
}

TEST_F(HostLinkServerTest, AnOverlongLineGivesAnErrorAndTheConnectionStays) {
  Client host(path);
  host.say(hello());
  EXPECT_EQ(host.hear()["type"], "welcome");
  host.write(std::string(hostlink::kMaximumLineLength + 1, ' '));
  EXPECT_EQ(host.hear()["type"], "error");
  host.write("still the same line\n");
  host.say({{"type", "menu"}, {"id", 1}, {"kind", 0}});
  EXPECT_EQ(host.hear()["type"], "menu");
}

TEST_F(HostLinkServerTest, AHostThatDoesNotReadIsCutOffAndTheOthersAreServed) {
  Client deaf(path);
  Client other(path);
  deaf.say(hello());
  other.say(hello());
  EXPECT_EQ(other.hear()["type"], "welcome");
  Menu large;
  large.items.emplace_back(std::string(std::size_t{8} << 20U, 'x'), "stage:");
  extension.menus[0] = large;
  // Nine answers of 8 MiB are more than may wait.
  for (int i = 0; i < 9; ++i) deaf.say({{"type", "menu"}, {"id", i}, {"kind", 0}});
  runUntil([&] { return server->connectionCount() == 1; });
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_NE(log.lines()[0].find("does not read"), std::string::npos);
  other.say({{"type", "menu"}, {"id", 1}, {"kind", 2}});
  EXPECT_EQ(other.hear()["type"], "menu");
}

TEST_F(HostLinkServerTest, ASlowReaderOfManyMegabytesGetsAllOfThem) {
  Client host(path);
  host.say(hello());
  EXPECT_EQ(host.hear()["type"], "welcome");
  Menu large;
  large.items.emplace_back(std::string(std::size_t{8} << 20U, 'x'), "stage:");
  extension.menus[0] = large;
  for (int i = 0; i < 4; ++i) host.say({{"type", "menu"}, {"id", i}, {"kind", 0}});
  for (int i = 0; i < 4; ++i) {
    const json line = host.hear();
    EXPECT_EQ(line["id"], i);
    EXPECT_EQ(line["menu"]["items"][0]["title"].get<std::string>().size(), std::size_t{8} << 20U);
  }
}

TEST_F(HostLinkServerTest, AStaleSocketIsReplacedAndTheEndRemovesIt) {
  server.reset();
  EXPECT_FALSE(std::filesystem::exists(path));
  leaveSocket(path);
  start();
  Client host(path);
  host.say(hello());
  EXPECT_EQ(host.hear()["type"], "welcome");
}

TEST_F(HostLinkServerTest, AFileThatIsNoSocketStays) {
  server.reset();
  std::ofstream(path) << "somebody's";
  const auto made = HostLinkServer::listen(loop, path, hub);
  EXPECT_FALSE(made);
  EXPECT_NE(made.problem().find("the host link cannot be opened"), std::string::npos);
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(HostLinkServerTest, APathTooLongForASocketIsAStatedProblem) {
  const std::string longPath = folder + "/" + std::string(200, 'x');
  const auto made = HostLinkServer::listen(loop, longPath, hub);
  EXPECT_FALSE(made);
  EXPECT_NE(made.problem().find("the host link cannot be opened"), std::string::npos);
}

TEST_F(HostLinkServerTest, RandomBytesNeverEndTheService) {
  std::uint32_t seed = 7;
  for (int round = 0; round < 20; ++round) {
    Client noise(path);
    std::string bytes;
    for (int i = 0; i < 5000; ++i) {
      seed = seed * 1664525U + 1013904223U;
      bytes += (seed >> 28U) == 0 ? '\n' : static_cast<char>(seed >> 24U);
    }
    noise.write(bytes);
  }
  runUntil([&] { return server->connectionCount() == 0; });
  Client host(path);
  host.say(hello());
  EXPECT_EQ(host.hear()["type"], "welcome");
}

}  // namespace
}  // namespace kelpie
