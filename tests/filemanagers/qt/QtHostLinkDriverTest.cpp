#include "qt/QtHostLinkDriver.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <QCoreApplication>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "filemanagers/FakeExtension.h"
#include "linux/base/UnixSocket.h"
#include "protocol/BadgeIdentifiers.h"
#include "support/TemporaryFolder.h"

namespace kelpie::filemanagers {
namespace {

using namespace std::chrono_literals;

// The loop of this process; there is one.
QCoreApplication& application() {
  static int count = 1;
  static std::string name = "test";
  static std::array<char*, 2> arguments = {name.data(), nullptr};
  static QCoreApplication application(count, arguments.data());
  return application;
}

// An extension on a socket, in the test's hands.
class SocketExtension {
 public:
  explicit SocketExtension(const std::string& path) : listener_(UnixSocket::listen(path).socket) {}

  // Takes a host's connection, if there is one.
  bool meet() {
    if (!host_) host_.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK));
    return static_cast<bool>(host_);
  }
  void leave() { host_.reset(); }
  void say(const std::string& bytes) const {
    EXPECT_EQ(::send(host_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  void say(const hostlink::ExtensionLine& line) const { say(hostlink::lineOf(line)); }
  void welcome() const {
    hostlink::Welcome welcome;
    welcome.directories = {"file:///repo/"};
    say(welcome);
  }
  // All lines that the host has said so far.
  std::vector<hostlink::HostLine> heard() {
    std::array<char, 4096> piece;  // NOLINT: filled before it is read
    ssize_t size = 0;
    while (host_ && (size = ::recv(host_.get(), piece.data(), piece.size(), 0)) > 0)
      text_.append(piece.data(), static_cast<std::size_t>(size));
    return linesOf(text_);
  }

 private:
  UniqueFd listener_;
  UniqueFd host_;
  std::string text_;
};

class QtHostLinkDriverTest : public testing::Test {
 protected:
  void SetUp() override {
    application();
    path_ = folder_.path() + "/finder";
  }
  // Runs the loop until that holds.
  static void runUntil(const char* what, const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (!holds()) {
      ASSERT_LT(std::chrono::steady_clock::now(), end) << what;
      QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
  }
  void listen() { extension_.emplace(path_); }
  void meet() {
    runUntil("a connection", [&] { return extension_->meet(); });
    runUntil("a greeting", [&] { return !only<hostlink::Hello>(extension_->heard()).empty(); });
    extension_->welcome();
    runUntil("the welcome is taken", [&] { return session_.client().isReady(); });
  }

  TemporaryFolder folder_;
  std::string path_;
  std::optional<SocketExtension> extension_;
  int starts_ = 0;
  std::function<void(const std::string& problem)> started_;
  bool isAnswered_ = false;
  FileManagerSession session_{"test",
                              {[] {}, [] {}, [] {}, [this] { driver_->wake(); },
                               [](const std::string&, const std::string&) {}},
                              [](const std::string& folder) { return folder; }};
  std::unique_ptr<QtHostLinkDriver> driver_;
  void drive() {
    driver_ = std::make_unique<QtHostLinkDriver>(
        session_, path_, [this](std::function<void(const std::string&)> done) {
          ++starts_;
          started_ = std::move(done);
        });
    driver_->start();
  }
};

TEST_F(QtHostLinkDriverTest, AsksAndTakesBadges) {
  listen();
  drive();
  meet();
  int object = 0;
  session_.show(&object, "/repo/f", false);
  runUntil("the question",
           [&] { return !only<hostlink::RequestBadges>(extension_->heard()).empty(); });
  extension_->say(hostlink::Badges{{{"file:///repo/f", std::string(badge::kConflicted)}}});
  runUntil("the badge", [&] { return session_.hasChanged(); });
  EXPECT_EQ(session_.look("/repo/f").emblem, "kelpie-conflicted");
  EXPECT_EQ(starts_, 0);
}

TEST_F(QtHostLinkDriverTest, HasTheExtensionStartedAndConnectsThen) {
  drive();
  runUntil("a start", [&] { return starts_ == 1; });
  listen();
  started_({});
  meet();
}

TEST_F(QtHostLinkDriverTest, ConnectsAgainAfterTheExtensionHasGone) {
  listen();
  drive();
  meet();
  extension_.reset();
  runUntil("the end is noticed", [&] { return !session_.client().isReady(); });
  listen();
  driver_->extensionAppeared();
  meet();
}

TEST_F(QtHostLinkDriverTest, GarbageAndHalfALineAreDropped) {
  listen();
  drive();
  meet();
  extension_->say("garbage\n{\"type\":\"badges\",\"ba");
  runUntil("garbage is dropped", [&] { return session_.client().droppedLines() == 1; });
  extension_->leave();
  runUntil("the end is noticed", [&] { return !session_.client().isReady(); });
}

TEST_F(QtHostLinkDriverTest, WaitsNoLongerThanAllowedForAnExtensionThatIsStopped) {
  listen();
  drive();
  meet();
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(driver_->serveUntil([] { return false; }, 50ms));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST_F(QtHostLinkDriverTest, ServesAMenuWithoutTheLoop) {
  listen();
  drive();
  meet();
  const auto question = session_.question(0, {{"/repo/f", false}}, "/repo").value();
  session_.menu(question, HostClient::Clock::now());
  // The extension's end of the same thread: answers as soon as it has heard the question.
  const auto answered = [&] {
    const auto requests = only<hostlink::MenuRequest>(extension_->heard());
    if (session_.isAsking(question) && requests.size() == 1 && !isAnswered_) {
      isAnswered_ = true;
      extension_->say(menuOf(requests[0], {"Stage"}));
    }
    return !session_.isAsking(question);
  };
  EXPECT_TRUE(driver_->serveUntil(answered, 60s));
  const auto menu = session_.menu(question, HostClient::Clock::now());
  ASSERT_TRUE(menu);
  EXPECT_EQ(menu->at(0).title, "Stage");
}

TEST_F(QtHostLinkDriverTest, ConnectsAtOnceForAMenuThatIsOpening) {
  listen();
  drive();
  EXPECT_TRUE(driver_->connectNow());
}

}  // namespace
}  // namespace kelpie::filemanagers
