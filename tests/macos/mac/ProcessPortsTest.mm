#import <Foundation/Foundation.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <string>

#include "macos/MainLoop.h"
#include "macos/mac/PortReceiver.h"
#include "platform/macos/MacMessagePorts.h"
#include "platform/macos/Strings.h"

// Message ports between two processes: the other one is this program, as a receiver.
namespace kelpie {
namespace {

constexpr std::chrono::milliseconds kSecond{1000};

class ProcessPorts : public testing::Test {
 protected:
  ProcessPorts() {
    std::array<int, 2> ends = {};
    EXPECT_EQ(pipe(ends.data()), 0);
    const std::string program = stdString([[NSBundle mainBundle] executablePath]);
    receiver = fork();
    if (receiver == 0) {
      dup2(ends[1], STDOUT_FILENO);
      execl(program.c_str(), program.c_str(), kReceiverArgument, name.c_str(), nullptr);
      _exit(127);
    }
    close(ends[1]);
    output = ends[0];
  }
  ~ProcessPorts() override {
    endReceiver();
    close(output);
  }

  void endReceiver() {
    if (receiver > 0) kill(receiver, SIGKILL);
    if (receiver > 0) waitpid(receiver, nullptr, 0);
    receiver = 0;
  }

  // Null when the receiver does not open its port.
  std::shared_ptr<RemoteMessagePort> remote() {
    std::shared_ptr<RemoteMessagePort> port;
    runUntil([&] { return (port = ports.createRemote(name)) != nullptr; });
    return port;
  }

  // All that the receiver has written by its end.
  std::string written() const {
    std::string text;
    std::array<char, 4096> part = {};
    for (ssize_t size = 1; size > 0;) {
      size = read(output, part.data(), part.size());
      if (size > 0) text.append(part.data(), static_cast<std::size_t>(size));
    }
    return text;
  }

  static Bytes bytes(std::string_view text) { return {text.begin(), text.end()}; }

  const std::string name = "org.kelpie.tests.receiver." + std::to_string(getpid());
  MacMessagePorts ports;
  pid_t receiver = 0;
  int output = -1;
};

TEST_F(ProcessPorts, CarryMessagesInTheirOrder) {
  const auto port = remote();
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(port->send(2, bytes("one"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_EQ(port->send(-7, bytes("two"), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_EQ(port->send(0, bytes(""), kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_EQ(written(), "2: one\n-7: two\n0: \n");
}

TEST_F(ProcessPorts, AreTakenForEveryOtherProcess) {
  ASSERT_NE(remote(), nullptr);
  EXPECT_EQ(ports.createLocal(name, [](std::int32_t, const std::shared_ptr<const Bytes>&,
                                       const LocalMessagePort::Completion&) {}),
            nullptr);
}

// The system holds a few messages; then a send has to wait, and must not for longer than it may.
TEST_F(ProcessPorts, ASendToAReceiverThatHangsEnds) {
  const auto port = remote();
  ASSERT_NE(port, nullptr);
  ASSERT_EQ(kill(receiver, SIGSTOP), 0);
  std::int32_t status = RemoteMessagePort::kSuccess;
  for (int i = 0; i < 1000 && status == RemoteMessagePort::kSuccess; ++i)
    status = port->send(1, bytes("text"), std::chrono::milliseconds(50), kSecond);
  EXPECT_EQ(status, RemoteMessagePort::kSendTimeout);
}

// Once the system has told this process.
TEST_F(ProcessPorts, AReceiverThatIsGoneIsInvalid) {
  const auto port = remote();
  ASSERT_NE(port, nullptr);
  endReceiver();
  const auto send = [&] { return port->send(1, bytes("text"), kSecond, kSecond); };
  EXPECT_NE(send(), RemoteMessagePort::kSuccess);
  EXPECT_TRUE(runUntil([&] { return send() == RemoteMessagePort::kIsInvalid; }));
  EXPECT_EQ(ports.createRemote(name), nullptr);
}

}  // namespace
}  // namespace kelpie
