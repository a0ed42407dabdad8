#include "platform/linux/LinuxMessagePorts.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "linux/base/UnixListener.h"
#include "platform/linux/LinuxRemoteMessagePort.h"
#include "platform/linux/MessageFrame.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/TemporaryFolder.h"
#include "support/linux/SecondUser.h"
#include "support/linux/TestSocket.h"

namespace kelpie {
namespace {

constexpr std::chrono::milliseconds kSecond(1000);

Bytes bytes(std::string_view text) { return {text.begin(), text.end()}; }

class LinuxMessagePortsTest : public testing::Test {
 protected:
  struct Received {
    std::int32_t id;
    std::string payload;
    friend bool operator==(const Received&, const Received&) = default;
  };

  // A port that notes what arrives and reports it as done at once, unless `keepBack`.
  std::unique_ptr<LocalMessagePort> open(std::string_view name) {
    return ports.createLocal(name,
                             [this](std::int32_t id, const std::shared_ptr<const Bytes>& message,
                                    LocalMessagePort::Completion done) {
                               received.push_back({id, std::string(textOf(*message))});
                               if (keepBack)
                                 waiting.push_back(std::move(done));
                               else
                                 done();
                             });
  }
  std::string path(std::string_view name) const { return folder / name; }
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }
  bool runUntilReceived(std::size_t count) {
    return runUntil([&] { return received.size() >= count; });
  }
  // Lets all that is on its way arrive: what another connection sends afterwards is there.
  void settle() {
    const Received marker = {99, "settle"};
    const bool former = std::exchange(keepBack, false);
    const TestSocket other = TestSocket::connect(path("port"));
    ASSERT_TRUE(other.write(frameBytes(marker.id, marker.payload)));
    const auto arrived = [&] { return std::count(received.begin(), received.end(), marker) > 0; };
    ASSERT_TRUE(runUntil(arrived));
    std::erase(received, marker);
    keepBack = former;
  }

  TemporaryFolder folder;
  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  LinuxMessagePorts ports{loop, folder.path()};
  std::vector<Received> received;
  bool keepBack = false;
  std::vector<LocalMessagePort::Completion> waiting;
};

// -- Frames --------------------------------------------------------------------------------------

TEST(MessageFrame, IsMagicIdAndLengthInLittleEndian) {
  const auto head = MessageFrame{-2, 0x0102030405060708}.toBytes();
  const MessageFrame::Head want = {'K', 'P', 'M', '1', 0xFE, 0xFF, 0xFF, 0xFF,
                                   8,   7,   6,   5,   4,    3,    2,    1};
  EXPECT_EQ(head, want);
  const auto frame = MessageFrame::fromBytes(head);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->id, -2);
  EXPECT_EQ(frame->length, 0x0102030405060708U);
  for (std::size_t i = 0; i < 4; ++i) {
    auto wrong = head;
    wrong.at(i) ^= 1;
    EXPECT_FALSE(MessageFrame::fromBytes(wrong));
  }
}

TEST_F(LinuxMessagePortsTest, APortIsASocketOfItsNameThatOnlyItsUserMayUse) {
  const auto port = open("group.App");
  ASSERT_TRUE(port);
  struct stat status = {};
  ASSERT_EQ(::lstat(path("group.App").c_str(), &status), 0);
  EXPECT_TRUE(S_ISSOCK(status.st_mode));
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(LinuxMessagePortsTest, AConnectionCarriesAnyNumberOfFramesInOrder) {
  const auto port = open("port");
  const TestSocket sender = TestSocket::connect(path("port"));
  ASSERT_TRUE(sender.write(frameBytes(2, "one") + frameBytes(-7, "") + frameBytes(0, "three")));
  ASSERT_TRUE(runUntilReceived(3));
  EXPECT_EQ(received, (std::vector<Received>{{2, "one"}, {-7, ""}, {0, "three"}}));
}

TEST_F(LinuxMessagePortsTest, AFrameMayArriveByteByByte) {
  const auto port = open("port");
  const TestSocket sender = TestSocket::connect(path("port"));
  for (const char c : frameBytes(2, "slow") + frameBytes(3, "x")) {
    ASSERT_TRUE(sender.write(std::string_view(&c, 1)));
    settle();
  }
  EXPECT_EQ(received, (std::vector<Received>{{2, "slow"}, {3, "x"}}));
}

TEST_F(LinuxMessagePortsTest, ALongMessageArrivesWhole) {
  const auto port = open("port");
  std::string payload(20U << 20U, '\0');
  for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(i * 7 + i / 251);
  std::thread sender([&] {
    const TestSocket socket = TestSocket::connect(path("port"));
    EXPECT_TRUE(socket.write(frameBytes(2, payload)));
  });
  EXPECT_TRUE(runUntilReceived(1));
  sender.join();
  ASSERT_EQ(received.size(), 1U);
  EXPECT_TRUE(received[0].payload == payload);
}

TEST_F(LinuxMessagePortsTest, NoAnswerIsSent) {
  const auto port = open("port");
  TestSocket sender = TestSocket::connect(path("port"));
  ASSERT_TRUE(sender.write(frameBytes(2, "x")));
  ASSERT_TRUE(runUntilReceived(1));
  settle();
  EXPECT_EQ(sender.read(), "");
  EXPECT_FALSE(sender.isClosed());
}

// -- Senders that break the rules ----------------------------------------------------------------

TEST_F(LinuxMessagePortsTest, BytesThatAreNoFrameCostTheirConnectionOnly) {
  struct Case {
    const char* why;
    std::string bytes;
    const char* line;
  };
  const Case cases[] = {
      {"a wrong magic", "KPM2" + std::string(12, '\0'),
       "port port: a message with a wrong magic, connection closed"},
      {"text", "GET / HTTP/1.1\r\n\r\n",
       "port port: a message with a wrong magic, connection closed"},
      {"one byte over 1 GiB", frameHead(2, (std::uint64_t{1} << 30) + 1),
       "port port: a message that is too long, connection closed"},
      {"2^64 - 1 bytes", frameHead(2, ~std::uint64_t{0}),
       "port port: a message that is too long, connection closed"},
  };
  const auto port = open("port");
  const TestSocket good = TestSocket::connect(path("port"));
  for (const Case& c : cases) {
    events.clear();
    received.clear();
    TestSocket bad = TestSocket::connect(path("port"));
    ASSERT_TRUE(bad.write(frameBytes(1, "before"))) << c.why;
    ASSERT_TRUE(bad.write(c.bytes)) << c.why;
    EXPECT_TRUE(runUntil([&] { return bad.isClosed(); })) << c.why;
    EXPECT_EQ(log.lines(), std::vector<std::string>{c.line}) << c.why;
    ASSERT_TRUE(good.write(frameBytes(2, "after"))) << c.why;
    ASSERT_TRUE(runUntilReceived(2)) << c.why;
    EXPECT_EQ(received, (std::vector<Received>{{1, "before"}, {2, "after"}})) << c.why;
  }
}

TEST_F(LinuxMessagePortsTest, AMessageThatBreaksOffIsDroppedWithALine) {
  const auto port = open("port");
  const std::string frame = frameBytes(2, "payload");
  for (const std::size_t length :
       {std::size_t{1}, std::size_t{15}, std::size_t{16}, frame.size() - 1}) {
    events.clear();
    TestSocket sender = TestSocket::connect(path("port"));
    ASSERT_TRUE(sender.write(frame.substr(0, length)));
    sender.close();
    EXPECT_TRUE(runUntil([&] { return !log.lines().empty(); })) << length;
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"port port: a message that breaks off, connection closed"});
  }
  EXPECT_TRUE(received.empty());
}

TEST_F(LinuxMessagePortsTest, ASenderThatLeavesBetweenMessagesIsNotWorthALine) {
  const auto port = open("port");
  TestSocket sender = TestSocket::connect(path("port"));
  ASSERT_TRUE(sender.write(frameBytes(2, "x")));
  sender.close();
  TestSocket::connect(path("port")).close();
  ASSERT_TRUE(runUntilReceived(1));
  settle();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(LinuxMessagePortsTest, ALengthThatLiesTakesNoMemory) {
  const auto port = open("port");
  const TestSocket liar = TestSocket::connect(path("port"));
  ASSERT_TRUE(liar.write(frameHead(2, std::uint64_t{1} << 30) + std::string(1000, 'x')));
  settle();
  settle();
  rusage usage = {};
  ASSERT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
  EXPECT_LT(usage.ru_maxrss, 700 * 1024) << "kilobytes";
  EXPECT_TRUE(received.empty());
}

TEST_F(LinuxMessagePortsTest, AnotherUserIsTurnedAway) {
  if (!SecondUser::isPossible()) GTEST_SKIP() << "only root can be somebody else";
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  int accepted = 0;
  const auto listener =
      UnixListener::create(loop, path("open"), [&](const UniqueFd&) { ++accepted; });
  ASSERT_TRUE(listener) << listener.problem();
  ASSERT_EQ(::chmod(path("open").c_str(), 0777), 0);
  std::optional<TestSocket> other;
  {
    const SecondUser user;
    other = TestSocket::connect(path("open"));
  }
  ASSERT_TRUE(*other);
  EXPECT_TRUE(runUntil([&] { return other->isClosed(); }));
  EXPECT_EQ(accepted, 0);
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"turned away another user's connection on " + path("open")});
}

// -- Order and completion ------------------------------------------------------------------------

TEST_F(LinuxMessagePortsTest, TheNextFrameOfAConnectionWaitsForTheCompletionOfTheLast) {
  const auto port = open("port");
  const TestSocket sender = TestSocket::connect(path("port"));
  keepBack = true;
  ASSERT_TRUE(sender.write(frameBytes(1, "a") + frameBytes(2, "b")));
  ASSERT_TRUE(runUntilReceived(1));
  settle();  // another connection is served meanwhile, and the loop does not wait
  EXPECT_EQ(received.size(), 1U);
  waiting[0]();
  ASSERT_TRUE(runUntilReceived(2));
  EXPECT_EQ(received[1], (Received{2, "b"}));
}

TEST_F(LinuxMessagePortsTest, ACompletionMayComeFromAnyThreadAndMoreThanOnce) {
  const auto port = open("port");
  const TestSocket sender = TestSocket::connect(path("port"));
  keepBack = true;
  ASSERT_TRUE(sender.write(frameBytes(1, "a") + frameBytes(2, "b") + frameBytes(3, "c")));
  ASSERT_TRUE(runUntilReceived(1));
  std::thread other([done = waiting[0]] {
    done();
    done();
  });
  other.join();
  ASSERT_TRUE(runUntilReceived(2));
  settle();
  EXPECT_EQ(received.size(), 2U) << "the second call was for the first message still";
}

TEST_F(LinuxMessagePortsTest, ACompletionThatNobodyCanReportAnyMoreCounts) {
  const auto port = open("port");
  const TestSocket sender = TestSocket::connect(path("port"));
  keepBack = true;
  ASSERT_TRUE(sender.write(frameBytes(1, "a") + frameBytes(2, "b")));
  ASSERT_TRUE(runUntilReceived(1));
  waiting.clear();
  EXPECT_TRUE(runUntilReceived(2));
}

TEST_F(LinuxMessagePortsTest, WhatAProcessThatEndedHadSentIsDropped) {
  const auto port = open("port");
  const pid_t pid = ::fork();
  if (pid == 0) {
    const TestSocket sender = TestSocket::connect(path("port"));
    const bool isSent = sender.write(frameBytes(1, "a") + frameBytes(2, "b"));
    ::_exit(isSent ? 0 : 1);
  }
  keepBack = true;
  ASSERT_TRUE(runUntilReceived(1));
  int status = -1;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_EQ(status, 0);
  const TestSocket other = TestSocket::connect(path("port"));
  ASSERT_TRUE(other.write(frameBytes(3, "c")));
  ASSERT_TRUE(runUntilReceived(2));
  ASSERT_TRUE(other.write(frameBytes(4, "d")));

  port->dropMessagesOf(pid);
  for (const LocalMessagePort::Completion& done : std::exchange(waiting, {})) done();
  ASSERT_TRUE(runUntilReceived(3));
  settle();
  EXPECT_EQ(received, (std::vector<Received>{{1, "a"}, {3, "c"}, {4, "d"}}));
}

TEST_F(LinuxMessagePortsTest, AnArgumentErrorCostsItsMessageOnly) {
  int calls = 0;
  const auto port = ports.createLocal("port", [&](std::int32_t, const std::shared_ptr<const Bytes>&,
                                                  const LocalMessagePort::Completion& done) {
    if (++calls == 1) throw std::invalid_argument("absent");
    done();
  });
  const TestSocket sender = TestSocket::connect(path("port"));
  ASSERT_TRUE(sender.write(frameBytes(2, "a") + frameBytes(2, "b")));
  EXPECT_TRUE(runUntil([&] { return calls == 2; }));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"invalid argument: absent"});
}

TEST_F(LinuxMessagePortsTest, APortMayCloseInsideItsOwnHandler) {
  std::unique_ptr<LocalMessagePort> port;
  std::vector<LocalMessagePort::Completion> late;
  port = ports.createLocal("port", [&](std::int32_t, const std::shared_ptr<const Bytes>&,
                                       LocalMessagePort::Completion done) {
    late.push_back(std::move(done));
    port.reset();
  });
  TestSocket sender = TestSocket::connect(path("port"));
  ASSERT_TRUE(sender.write(frameBytes(2, "a") + frameBytes(2, "b")));
  EXPECT_TRUE(runUntil([&] { return late.size() == 1; }));
  late[0]();
  EXPECT_TRUE(runUntil([&] { return sender.isClosed(); }));
  EXPECT_FALSE(TestSocket::connect(path("port")));
  EXPECT_NE(::access(path("port").c_str(), F_OK), 0);
}

// -- Creation ------------------------------------------------------------------------------------

TEST_F(LinuxMessagePortsTest, AStaleSocketIsReplacedAtCreation) {
  TestSocket::listen(path("port")).close();
  ASSERT_EQ(::access(path("port").c_str(), F_OK), 0);
  const auto port = open("port");
  ASSERT_TRUE(port);
  settle();
}

TEST_F(LinuxMessagePortsTest, ANameThatIsTakenCannotBeOpened) {
  const auto port = open("port");
  EXPECT_FALSE(open("port"));
  settle();
  const TestSocket other = TestSocket::listen(path("full"), 0);
  const TestSocket waiting1 = TestSocket::connect(path("full"));
  EXPECT_FALSE(open("full")) << "also when the listener's queue is full";
  folder.addFile("file");
  EXPECT_FALSE(open("file"));
  EXPECT_EQ(::access(path("file").c_str(), F_OK), 0) << "what is no socket is left alone";
}

TEST_F(LinuxMessagePortsTest, ANameThatIsTooLongOrNoFileNameCannotBeOpened) {
  const std::size_t room = sizeof(sockaddr_un::sun_path) - 1 - folder.path().size() - 1;
  EXPECT_FALSE(open(std::string(room + 1, 'x')));
  EXPECT_TRUE(open(std::string(room, 'x')));
  for (const std::string_view name :
       {std::string_view(""), std::string_view("."), std::string_view(".."),
        std::string_view("a/b"), std::string_view("../a"), std::string_view("a\0b", 3)}) {
    EXPECT_FALSE(open(name)) << name;
    EXPECT_FALSE(ports.createRemote(name)) << name;
  }
}

TEST_F(LinuxMessagePortsTest, TheSocketGoesWithThePort) {
  open("port").reset();
  EXPECT_NE(::access(path("port").c_str(), F_OK), 0);
}

TEST_F(LinuxMessagePortsTest, WhatKilledProcessesLeftIsTakenAway) {
  TestSocket::listen(path("group.Sync.12")).close();
  TestSocket::listen(path("group.App")).close();
  const TestSocket live = TestSocket::listen(path("group.Sync.13"));
  folder.addFile("group.Sync.14");
  ports.removeStale("group.Sync.");
  EXPECT_NE(::access(path("group.Sync.12").c_str(), F_OK), 0);
  for (const char* name : {"group.Sync.13", "group.Sync.14", "group.App"})
    EXPECT_EQ(::access(path(name).c_str(), F_OK), 0) << name;
}

TEST_F(LinuxMessagePortsTest, ConnectionsAreLimited) {
  const auto port = open("port");
  std::vector<TestSocket> senders;
  for (int i = 0; i < 300; ++i) senders.push_back(TestSocket::connect(path("port")));
  EXPECT_TRUE(runUntil([&] { return senders.back().isClosed(); }));
  EXPECT_FALSE(senders.front().isClosed());
  ASSERT_TRUE(senders.front().write(frameBytes(2, "x")));
  EXPECT_TRUE(runUntilReceived(1));
  senders.clear();
  EXPECT_TRUE(runUntil([&] {
    TestSocket again = TestSocket::connect(path("port"));
    (void)again.write(frameBytes(3, "again"));
    loop.runUntil([] { return false; }, std::chrono::milliseconds(1));
    return received.size() > 1;
  }));
}

// -- Sending -------------------------------------------------------------------------------------

class RemotePortTest : public LinuxMessagePortsTest {
 protected:
  // A listener whose connections take little before they are full.
  TestSocket listenNarrow(int backlog = 16) {
    TestSocket listener = TestSocket::listen(path("app"), backlog);
    return listener;
  }
  static constexpr std::size_t kTooMuch = 16U << 20U;
};

TEST_F(RemotePortTest, NobodyListensNoPort) {
  EXPECT_FALSE(ports.createRemote("app"));
  TestSocket::listen(path("app")).close();
  EXPECT_FALSE(ports.createRemote("app")) << "a stale socket";
  EXPECT_FALSE(ports.createRemote(std::string(200, 'x')));
}

TEST_F(RemotePortTest, AFullQueueIsNoPortEither) {
  const TestSocket listener = TestSocket::listen(path("app"), 0);
  std::vector<std::shared_ptr<RemoteMessagePort>> held;
  for (int i = 0; i < 10; ++i) held.push_back(ports.createRemote("app"));
  EXPECT_TRUE(held.front());
  EXPECT_FALSE(held.back());
}

TEST_F(RemotePortTest, AMessageIsAFrame) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  ASSERT_TRUE(port);
  EXPECT_EQ(port->send(1, bytes("hello"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_EQ(port->send(-1, {}, kSecond, kSecond), RemoteMessagePort::kSuccess);
  TestSocket connection = listener.accept();
  EXPECT_EQ(connection.read(), frameBytes(1, "hello") + frameBytes(-1, ""));
}

TEST_F(RemotePortTest, WhatOneEndSendsTheOtherReceives) {
  const auto local = open("port");
  const auto remote = ports.createRemote("port");
  ASSERT_TRUE(remote);
  EXPECT_EQ(remote->send(2, bytes("x"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  ASSERT_TRUE(runUntilReceived(1));
  EXPECT_EQ(received[0], (Received{2, "x"}));
}

TEST_F(RemotePortTest, ATimeOutIsReportedAfterTheTime) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  const TestSocket connection = listener.accept();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(port->send(1, Bytes(kTooMuch), std::chrono::milliseconds(50), kSecond),
            RemoteMessagePort::kSendTimeout);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(RemotePortTest, AfterAPartialWriteTheNextFrameHasANewConnection) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  TestSocket first = listener.accept();
  EXPECT_EQ(port->send(1, Bytes(kTooMuch), std::chrono::milliseconds(1), kSecond),
            RemoteMessagePort::kSendTimeout);
  EXPECT_EQ(port->send(1, bytes("next"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_TRUE(first.isClosed()) << "the torn frame ends with its connection";
  TestSocket second = listener.accept();
  EXPECT_EQ(second.read(), frameBytes(1, "next"));
}

TEST_F(RemotePortTest, AFailedNewConnectionMeansThatTheOtherEndIsGone) {
  TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  TestSocket first = listener.accept();
  EXPECT_EQ(port->send(1, Bytes(kTooMuch), std::chrono::milliseconds(1), kSecond),
            RemoteMessagePort::kSendTimeout);
  listener.close();
  EXPECT_EQ(port->send(1, bytes("x"), kSecond, kSecond), RemoteMessagePort::kIsInvalid);
  ASSERT_EQ(::unlink(path("app").c_str()), 0);
  EXPECT_EQ(port->send(1, bytes("x"), kSecond, kSecond), RemoteMessagePort::kIsInvalid);
}

TEST_F(RemotePortTest, ATimeOutBeforeTheFirstByteKeepsTheConnection) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  TestSocket connection = listener.accept();
  std::size_t whole = 0;
  const Bytes message(1);  // goes out whole or not at all
  while (port->send(1, message, std::chrono::milliseconds(0), kSecond) ==
         RemoteMessagePort::kSuccess)
    ++whole;
  ASSERT_GT(whole, 0U);
  EXPECT_EQ(connection.readExactly(whole * 17).size(), whole * 17);
  EXPECT_EQ(port->send(2, bytes("y"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_EQ(connection.readExactly(17), frameBytes(2, "y"));
}

TEST_F(RemotePortTest, AClosedPeerIsReported) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  listener.accept().close();
  EXPECT_EQ(port->send(1, bytes("x"), kSecond, kSecond), RemoteMessagePort::kIsInvalid);
  EXPECT_EQ(port->send(1, bytes("x"), kSecond, kSecond), RemoteMessagePort::kIsInvalid);
}

TEST_F(RemotePortTest, APeerThatClosesInTheMiddleIsReported) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  TestSocket connection = listener.accept();
  std::thread reader([&] {
    connection.readExactly(100);
    connection.close();
  });
  EXPECT_EQ(port->send(1, Bytes(kTooMuch), kLongEnough, kSecond), RemoteMessagePort::kIsInvalid);
  reader.join();
}

TEST_F(RemotePortTest, AMessageThatIsTooLongIsAFault) {
  const TestSocket listener = listenNarrow();
  const auto port = LinuxRemoteMessagePort::connect(path("app"), 3);
  TestSocket connection = listener.accept();
  EXPECT_EQ(port->send(1, bytes("four"), kSecond, kSecond), RemoteMessagePort::kTransportError);
  EXPECT_EQ(port->send(1, bytes("3 b"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_EQ(connection.read(), frameBytes(1, "3 b"));
}

TEST_F(RemotePortTest, MessagesOfManyThreadsGoOutWhole) {
  const auto local = open("port");
  const auto remote = ports.createRemote("port");
  std::vector<std::thread> senders;
  for (int t = 0; t < 4; ++t)
    senders.emplace_back([&remote, t] {
      for (int i = 0; i < 50; ++i)
        EXPECT_EQ(remote->send(t, Bytes(10'000, static_cast<std::uint8_t>('a' + t)), kLongEnough,
                               kSecond),
                  RemoteMessagePort::kSuccess);
    });
  EXPECT_TRUE(runUntilReceived(200));
  for (std::thread& sender : senders) sender.join();
  std::map<int, int> counts;
  for (const Received& message : received) {
    ++counts[message.id];
    EXPECT_EQ(message.payload, std::string(10'000, static_cast<char>('a' + message.id)));
  }
  EXPECT_EQ(counts, (std::map<int, int>{{0, 50}, {1, 50}, {2, 50}, {3, 50}}));
}

TEST_F(RemotePortTest, WhoeverWaitsForItsTurnTimesOutAsWell) {
  const TestSocket listener = listenNarrow();
  const auto port = ports.createRemote("app");
  TestSocket connection = listener.accept();
  std::thread holder([&] {
    EXPECT_EQ(port->send(1, Bytes(kTooMuch), kLongEnough, kSecond), RemoteMessagePort::kSuccess);
  });
  connection.readExactly(1000);  // the holder is at it
  EXPECT_EQ(port->send(2, bytes("x"), std::chrono::milliseconds(5), kSecond),
            RemoteMessagePort::kSendTimeout);
  EXPECT_EQ(connection.readExactly(kTooMuch - 984).size(), kTooMuch - 984);
  holder.join();
  EXPECT_EQ(port->send(2, bytes("x"), kSecond, kSecond), RemoteMessagePort::kSuccess);
}

}  // namespace
}  // namespace kelpie
