#include "glib/HostLinkDriver.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "filemanagers/FakeExtension.h"
#include "protocol/BadgeIdentifiers.h"
#include "support/TemporaryFolder.h"
#include "support/linux/ChildProcess.h"
#include "support/linux/TestSocket.h"

namespace kelpie::filemanagers {
namespace {

using namespace std::chrono_literals;

// A session on the main loop of the test, which is the extension at the other end of its socket.
class HostLinkDriverTest : public testing::Test {
 protected:
  // Runs the main loop until `done` holds.
  bool runUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + ChildProcess::kLongEnough;
    while (!done()) {
      if (std::chrono::steady_clock::now() >= end) return false;
      if (g_main_context_iteration(nullptr, FALSE) == FALSE) g_usleep(1'000);
    }
    return true;
  }

  // Takes the driver's connection and answers its greeting.
  void meet() {
    EXPECT_TRUE(runUntil([this] { return lines("hello"); }));
    hostlink::Welcome welcome;
    welcome.directories = {"file:///repo/"};
    EXPECT_TRUE(connection->write(hostlink::lineOf(welcome)));
    EXPECT_TRUE(runUntil([this] { return session.client().isReady(); }));
  }
  // Whether what the driver has sent since it connected holds that.
  bool lines(const std::string& text) {
    if (!connection) {
      pollfd waiting = {listener->fd(), POLLIN, 0};
      if (::poll(&waiting, 1, 0) <= 0) return false;
      connection.emplace(listener->accept());
      received.clear();
    }
    received += connection->read();
    return received.find(text) != std::string::npos;
  }

  static constexpr std::size_t kUnsent = 64'000;

  TemporaryFolder folder;
  std::string path = folder / "finder";
  std::optional<TestSocket> listener = TestSocket::listen(path);
  std::optional<TestSocket> connection;
  std::string received;
  int starts = 0;
  int object = 0;
  HostLinkDriver* woken = nullptr;
  FileManagerSession session{"test",
                             {[] {}, [] {}, [] {},
                              [this] {
                                if (woken != nullptr) woken->wake();
                              },
                              [](const std::string&, const std::string&) {}},
                             [](const std::string& shown) { return std::optional(shown); }};
  std::function<void(const std::string&)> started;
  HostLinkDriver driver{session, path,
                        [this](std::function<void(const std::string&)> done) {
                          ++starts;
                          started = std::move(done);
                        },
                        kUnsent};

  void SetUp() override {
    woken = &driver;
    driver.start();
  }
};

TEST_F(HostLinkDriverTest, ConnectsGreetsAndAsks) {
  meet();
  session.show(&object, "/repo/f", false);
  EXPECT_TRUE(runUntil([this] { return lines("file:///repo/f"); }));
  const hostlink::Badges badges{{{"file:///repo/f", std::string(badge::kCurrent)}}};
  EXPECT_TRUE(connection->write(hostlink::lineOf(badges)));
  EXPECT_TRUE(runUntil([this] { return session.hasChanged(); }));
  EXPECT_EQ(session.look("/repo/f").emblem, "kelpie-current");
  EXPECT_EQ(starts, 0);
}

TEST_F(HostLinkDriverTest, AThousandQuestionsAreAskedSomeAtATime) {
  meet();
  std::vector<char> objects(1'000);
  for (std::size_t i = 0; i < objects.size(); ++i)
    session.show(&objects[i], "/repo/" + std::to_string(i), false);
  EXPECT_TRUE(runUntil([this] { return lines("file:///repo/999\""); }));
  std::size_t most = 0;
  for (const auto& line : only<hostlink::RequestBadges>(linesOf(received)))
    most = std::max(most, line.urls.size());
  EXPECT_EQ(most, ExtensionSocket::kQuestions);
}

TEST_F(HostLinkDriverTest, GarbageAndHalfALineDoNoHarm) {
  meet();
  session.show(&object, "/repo/f", false);
  EXPECT_TRUE(runUntil([this] { return lines("file:///repo/f"); }));
  EXPECT_TRUE(connection->write("\xff\xfe\n[[[[\n{\"type\":7}\n{\"type\":\"badges\",\"bad"));
  EXPECT_TRUE(runUntil([this] { return session.client().droppedLines() >= 2; }));
  EXPECT_TRUE(connection->write("ges\":[[\"file:///repo/f\",\"KPIgnoredBadge\"]]}\n"));
  EXPECT_TRUE(runUntil([this] { return session.look("/repo/f").emblem == "kelpie-ignored"; }));
}

TEST_F(HostLinkDriverTest, AnExtensionThatEndsTakesItsBadgesAndIsFoundAgain) {
  meet();
  session.show(&object, "/repo/f", false);
  EXPECT_TRUE(runUntil([this] { return lines("file:///repo/f"); }));
  const hostlink::Badges badges{{{"file:///repo/f", std::string(badge::kCurrent)}}};
  EXPECT_TRUE(connection->write(hostlink::lineOf(badges)));
  EXPECT_TRUE(runUntil([this] { return session.hasChanged(); }));
  connection.reset();
  EXPECT_TRUE(runUntil([this] { return !session.client().isReady(); }));
  EXPECT_EQ(session.look("/repo/f").emblem, "");
  // It says on the bus that it is there, so that the pause is not waited for.
  driver.extensionAppeared();
  meet();
  EXPECT_TRUE(runUntil([this] { return lines("file:///repo/f"); }));
}

TEST_F(HostLinkDriverTest, ANobodyThatListensIsStarted) {
  listener.reset();  // nobody listens on the file any more
  EXPECT_TRUE(runUntil([this] { return starts == 1; }));
  listener.emplace(TestSocket::listen(folder / "other"));
  std::rename((folder / "other").c_str(), path.c_str());
  started("");
  meet();
}

TEST_F(HostLinkDriverTest, WhatCannotBeStartedIsTriedAgainAfterAPause) {
  listener.reset();
  EXPECT_TRUE(runUntil([this] { return starts == 1; }));
  started("no such service");
  EXPECT_FALSE(session.client().wantsConnection(HostClient::Clock::now()));
  EXPECT_TRUE(runUntil([this] { return starts == 2; }));
}

TEST_F(HostLinkDriverTest, AMenuIsWaitedForNoLongerThanToldTo) {
  meet();
  const auto question = session.question(1, {}, "/repo").value();
  session.menu(question, HostClient::Clock::now());
  EXPECT_FALSE(driver.serveUntil([&] { return !session.isAsking(question); }, 20ms));
  EXPECT_TRUE(session.isAsking(question));
  EXPECT_TRUE(runUntil([this] { return lines("\"menu\""); }));
  const auto requests = only<hostlink::MenuRequest>(linesOf(received));
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_TRUE(connection->write(hostlink::lineOf(menuOf(requests[0], {"Stage"}))));
  EXPECT_TRUE(
      driver.serveUntil([&] { return !session.isAsking(question); }, ChildProcess::kLongEnough));
  EXPECT_EQ(session.menu(question, HostClient::Clock::now())->size(), 1U);
}

TEST_F(HostLinkDriverTest, AnExtensionThatDoesNotReadIsLeft) {
  meet();
  // Long names fill the socket and then what may wait.
  std::vector<char> objects(4'000);
  const std::string name(250, 'n');
  for (std::size_t i = 0; i < objects.size(); ++i)
    session.show(&objects[i], "/repo/" + name + std::to_string(i), false);
  EXPECT_TRUE(runUntil([this] { return !session.client().isReady(); }));
}

}  // namespace
}  // namespace kelpie::filemanagers
