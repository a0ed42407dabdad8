#include "linux/hostlink/HostConnection.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"

namespace kelpie {
namespace {

using Lines = std::vector<std::string>;

// One connection, whose other end is the test.
class HostConnectionTest : public testing::Test {
 protected:
  static constexpr std::size_t kMaximumLine = 20;

  void SetUp() override {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()), 0);
    host_ = UniqueFd(ends[1]);
    connection_ = std::make_unique<HostConnection>(
        loop_, UniqueFd(ends[0]), kMaximumLine,
        HostConnection::Handlers{[this](std::string_view line) {
                                   lines_.emplace_back(line);
                                   return onLine_ == nullptr || onLine_(line);
                                 },
                                 [this] { ++overlong_; },
                                 [this](std::string_view reason) {
                                   ends_.emplace_back(reason);
                                   connection_.reset();
                                 }});
  }

  bool runUntil(const std::function<bool()>& done) { return loop_.runUntil(done, kLongEnough); }
  // Until all that is due has been handled.
  void runIdle() {
    loop_.runUntil([] { return false; }, std::chrono::milliseconds(20));
  }

  void say(std::string_view bytes) {
    ASSERT_EQ(::send(host_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  // What has arrived at the host since the last call.
  std::string hear() {
    std::string heard;
    std::array<char, 65536> part{};
    ssize_t count = 0;
    while ((count = ::recv(host_.get(), part.data(), part.size(), 0)) > 0)
      heard.append(part.data(), static_cast<std::size_t>(count));
    isClosed_ = count == 0;
    return heard;
  }

  EventLog events_;
  FakeLog log_{events_};
  MainLoop loop_{log_};
  UniqueFd host_;
  std::unique_ptr<HostConnection> connection_;
  std::function<bool(std::string_view)> onLine_;
  Lines lines_;
  int overlong_ = 0;
  Lines ends_;  // the reasons
  bool isClosed_ = false;
};

// -- What comes in --------------------------------------------------------------------------------

TEST_F(HostConnectionTest, LinesAreHandedOnHoweverTheyArrive) {
  say("one\ntwo\nth");
  ASSERT_TRUE(runUntil([&] { return lines_.size() == 2; }));
  say("ree\n\n");
  ASSERT_TRUE(runUntil([&] { return lines_.size() == 4; }));
  EXPECT_EQ(lines_, (Lines{"one", "two", "three", ""}));
  EXPECT_TRUE(ends_.empty());
}

TEST_F(HostConnectionTest, AnOverlongLineIsToldOnceAndSkipped) {
  say(std::string(kMaximumLine + 1, 'x'));
  ASSERT_TRUE(runUntil([&] { return overlong_ == 1; }));
  say(std::string(kMaximumLine * 3, 'x') + "\nnext\n");
  ASSERT_TRUE(runUntil([&] { return lines_.size() == 1; }));
  EXPECT_EQ(lines_, Lines{"next"});
  EXPECT_EQ(overlong_, 1);
}

// -- What goes out --------------------------------------------------------------------------------

TEST_F(HostConnectionTest, WhatTheSocketDoesNotTakeAtOnceFollows) {
  std::string all;
  for (int i = 0; i < 8; ++i) {
    const std::string part(std::size_t{1} << 20U, static_cast<char>('a' + i));
    all += part;
    connection_->send(part);
  }
  std::string heard;
  ASSERT_TRUE(runUntil([&] {
    heard += hear();
    return heard.size() >= all.size();
  }));
  EXPECT_TRUE(heard == all) << "every byte, in order";
}

TEST_F(HostConnectionTest, AHostThatReadsNothingIsCutOffButNotWithinSend) {
  const std::string part(HostConnection::kMaximumWaiting / 4, 'x');
  for (int i = 0; i < 5; ++i) connection_->send(part);
  EXPECT_TRUE(ends_.empty()) << "the caller of send() still holds the connection";
  connection_->send("more");
  ASSERT_TRUE(runUntil([&] { return !ends_.empty(); }));
  EXPECT_EQ(ends_, Lines{"it does not read what it is sent"});
}

TEST_F(HostConnectionTest, AHostThatWasCutOffIsNotListenedToAnyMore) {
  onLine_ = [this](std::string_view /*line*/) {
    connection_->send(std::string(HostConnection::kMaximumWaiting + (std::size_t{1} << 20U), 'x'));
    return true;
  };
  say("one\ntwo\n");
  ASSERT_TRUE(runUntil([&] { return !ends_.empty(); }));
  EXPECT_EQ(lines_, Lines{"one"});
}

// -- The end --------------------------------------------------------------------------------------

TEST_F(HostConnectionTest, AHostThatLeavesNeedsNoReason) {
  say("one\n");
  host_.reset();
  ASSERT_TRUE(runUntil([&] { return !ends_.empty(); }));
  EXPECT_EQ(ends_, Lines{""});
  EXPECT_EQ(lines_, Lines{"one"}) << "what it had said is heard";
}

TEST_F(HostConnectionTest, ALineThatEndsTheConversationLetsWhatWasSentGoOutFirst) {
  const std::string answer(std::size_t{4} << 20U, 'a');
  onLine_ = [&](std::string_view /*line*/) {
    connection_->send(answer);
    return false;
  };
  say("one\ntwo\n");
  ASSERT_TRUE(runUntil([&] { return lines_.size() == 1; }));
  runIdle();
  EXPECT_TRUE(ends_.empty()) << "the host has not read it yet";
  std::string heard;
  ASSERT_TRUE(runUntil([&] {
    heard += hear();
    return isClosed_;
  }));
  EXPECT_EQ(heard.size(), answer.size());
  EXPECT_EQ(lines_, Lines{"one"}) << "nothing after the line that ended it is served";
  EXPECT_EQ(ends_, Lines{""});
}

TEST_F(HostConnectionTest, TheEndIsToldOnce) {
  host_.reset();
  const std::string part(HostConnection::kMaximumWaiting + 1, 'x');
  connection_->send(part);
  ASSERT_TRUE(runUntil([&] { return !ends_.empty(); }));
  runIdle();
  EXPECT_EQ(ends_.size(), 1U);
  EXPECT_EQ(connection_, nullptr);
}

}  // namespace
}  // namespace kelpie
