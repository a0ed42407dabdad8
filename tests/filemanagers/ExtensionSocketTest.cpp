#include "common/ExtensionSocket.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "filemanagers/FakeExtension.h"
#include "protocol/BadgeIdentifiers.h"
#include "support/TemporaryFolder.h"
#include "support/linux/ChildProcess.h"
#include "support/linux/SecondUser.h"
#include "support/linux/TestSocket.h"

namespace kelpie::filemanagers {
namespace {

using namespace std::chrono_literals;
using Outcome = ExtensionSocket::Outcome;

// A session without a main loop; the test is the extension at the other end of its socket.
class ExtensionSocketTest : public testing::Test {
 protected:
  void meet() {
    ASSERT_EQ(socket.connect(), Outcome::Connected);
    connection.emplace(listener->accept());
    ASSERT_TRUE(socket.write());
    hostlink::Welcome welcome;
    welcome.directories = {"file:///repo/"};
    ASSERT_TRUE(connection->write(hostlink::lineOf(welcome)));
    ASSERT_TRUE(socket.serveUntil([this] { return session.client().isReady(); },
                                  ChildProcess::kLongEnough));
  }

  TemporaryFolder folder;
  std::string path = folder / "finder";
  std::optional<TestSocket> listener = TestSocket::listen(path);
  std::optional<TestSocket> connection;
  FileManagerSession session{
      "test",
      {[] {}, [] {}, [] {}, [] {}, [](const std::string&, const std::string&) {}},
      [](const std::string& shown) { return std::optional(shown); }};
  ExtensionSocket socket{session, path, 64'000};
};

TEST_F(ExtensionSocketTest, ASocketThatNobodyListensOnAsksForTheExtension) {
  listener.reset();
  EXPECT_EQ(socket.connect(), Outcome::NobodyListens);
  EXPECT_FALSE(socket.isOpen());
  EXPECT_NE(socket.problem(), "");
  // It could not be started.
  EXPECT_FALSE(socket.connectAgain());
  EXPECT_FALSE(session.client().wantsConnection(HostClient::Clock::now())) << "a pause is kept";
}

TEST_F(ExtensionSocketTest, AnImpossibleSocketIsNotStarted) {
  ExtensionSocket impossible(session, folder / std::string(200, 'n'));
  EXPECT_EQ(impossible.connect(), Outcome::Failed);
  EXPECT_FALSE(session.client().wantsConnection(HostClient::Clock::now())) << "a pause is kept";
}

TEST_F(ExtensionSocketTest, AnotherUsersSocketIsToldNothing) {
  if (!SecondUser::isPossible()) GTEST_SKIP() << "only root can be somebody else";
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  std::optional<TestSocket> theirs;
  {
    const SecondUser user;
    theirs = TestSocket::listen(folder / "trap");
  }
  ExtensionSocket trapped(session, folder / "trap");
  EXPECT_EQ(trapped.connect(), Outcome::Failed);
  EXPECT_FALSE(trapped.isOpen());
  EXPECT_EQ(theirs->accept().readExactly(1), "");
}

TEST_F(ExtensionSocketTest, TheEndOfTheOtherSideIsSeen) {
  meet();
  connection.reset();
  EXPECT_FALSE(socket.read());
  socket.end();
  EXPECT_FALSE(socket.isOpen());
  EXPECT_FALSE(session.client().isReady());
  socket.end();  // once more does no harm
}

TEST_F(ExtensionSocketTest, ManyQuestionsAreWrittenInTurnsUntilNoneIsLeft) {
  meet();
  std::vector<char> objects(1'000);
  for (std::size_t i = 0; i < objects.size(); ++i)
    session.show(&objects[i], "/repo/" + std::to_string(i), false);
  std::string received;
  do {
    ASSERT_TRUE(socket.write());
    received += connection->read();
  } while (socket.hasMore());
  std::size_t most = 0;
  std::size_t all = 0;
  for (const auto& line : only<hostlink::RequestBadges>(linesOf(received))) {
    most = std::max(most, line.urls.size());
    all += line.urls.size();
  }
  EXPECT_EQ(most, ExtensionSocket::kQuestions);
  EXPECT_EQ(all, objects.size());
}

TEST_F(ExtensionSocketTest, WhatItDoesNotTakeWaitsAndTooMuchEndsIt) {
  meet();
  const std::string name(250, 'n');
  std::vector<char> objects(4'000);
  for (std::size_t i = 0; i < objects.size(); ++i)
    session.show(&objects[i], "/repo/" + name + std::to_string(i), false);
  bool wasFull = false;
  bool isOpen = true;
  while (isOpen && (socket.hasMore() || !wasFull)) {
    isOpen = socket.write();
    wasFull = wasFull || socket.isFull();
  }
  EXPECT_TRUE(wasFull);
  EXPECT_FALSE(isOpen);
}

// What has come while it is served may be what makes the session ask.
TEST_F(ExtensionSocketTest, WhatIsAskedWhileItIsServedIsSaidAtOnce) {
  meet();
  const auto question = session.question(1, {}, "/repo").value();
  hostlink::MenuRequest request;
  request.id = 1;
  bool isAsked = false;
  bool isHeard = false;
  const auto isAnswered = [&] {
    if (!isAsked) session.menu(question, HostClient::Clock::now());
    isAsked = true;
    const bool wasHeard = isHeard;
    isHeard = isHeard || connection->read().find("\"menu\"") != std::string::npos;
    if (!isHeard) {
      EXPECT_TRUE(connection->write("\n"));  // wakes it
    } else if (!wasHeard) {
      EXPECT_TRUE(connection->write(hostlink::lineOf(menuOf(request, {"Stage"}))));
    }
    return !session.isAsking(question);
  };
  EXPECT_TRUE(socket.serveUntil(isAnswered, ChildProcess::kLongEnough));
}

TEST_F(ExtensionSocketTest, OneThatSaysNothingIsServedForTheTimeAllowed) {
  meet();
  const auto begin = HostClient::Clock::now();
  EXPECT_FALSE(socket.serveUntil([] { return false; }, 20ms));
  EXPECT_GE(HostClient::Clock::now() - begin, 20ms);
  EXPECT_TRUE(socket.isOpen());
  connection.reset();
  EXPECT_FALSE(socket.serveUntil([] { return false; }, ChildProcess::kLongEnough));
  EXPECT_FALSE(socket.isOpen());
}

TEST_F(ExtensionSocketTest, ALongAnswerIsTakenInTurns) {
  meet();
  std::string lines;
  std::vector<char> objects(200);
  for (std::size_t i = 0; i < objects.size(); ++i) {
    const std::string url = "file:///repo/" + std::to_string(i);
    session.show(&objects[i], "/repo/" + std::to_string(i), false);
    lines += hostlink::lineOf(hostlink::Badges{{{url, std::string(badge::kCurrent)}}});
  }
  ASSERT_TRUE(connection->write(lines));
  EXPECT_TRUE(
      socket.serveUntil([this] { return session.look("/repo/199").emblem == "kelpie-current"; },
                        ChildProcess::kLongEnough));
}

}  // namespace
}  // namespace kelpie::filemanagers
