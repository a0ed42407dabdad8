#include "cli/link/HostLink.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <optional>

#include "support/TemporaryFolder.h"
#include "support/linux/SecondUser.h"
#include "support/linux/TestSocket.h"

namespace kelpie::cli {
namespace {

// A link whose other end the test holds.
class HostLinkTest : public ::testing::Test {
 protected:
  HostLinkTest() {
    int error = 0;
    link = HostLink::connect(path, error);
    EXPECT_EQ(error, 0);
    peer = listener.accept();
    listener.close();
  }
  void write(std::string_view text) const { ASSERT_TRUE(peer.write(text)); }
  HostLink::Event receive() { return link->receive(bytes, soon()); }
  static Clock::time_point soon() { return Clock::now() + std::chrono::seconds(30); }

  TemporaryFolder folder;
  std::string path = folder / "finder";
  TestSocket listener = TestSocket::listen(path);
  TestSocket peer = TestSocket::connect(folder / "nobody");
  std::unique_ptr<HostLink> link;
  std::string bytes;
};

TEST_F(HostLinkTest, AnotherUsersSocketIsLeft) {
  if (!SecondUser::isPossible()) GTEST_SKIP() << "only root can be somebody else";
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  const std::string trap = folder / "trap";
  std::optional<TestSocket> theirs;
  {
    const SecondUser user;
    theirs = TestSocket::listen(trap);
  }
  int error = 0;
  EXPECT_EQ(HostLink::connect(trap, error), nullptr);
  EXPECT_EQ(error, EPERM);
}

TEST_F(HostLinkTest, SilenceAndTheEndAreToldApart) {
  EXPECT_EQ(link->receive(bytes, Clock::now()), HostLink::Event::Quiet);
  write("some");
  peer.close();
  EXPECT_EQ(receive(), HostLink::Event::Bytes) << "what came before the end counts";
  EXPECT_EQ(bytes, "some");
  EXPECT_EQ(receive(), HostLink::Event::Ended);
  EXPECT_EQ(receive(), HostLink::Event::Ended);
}

TEST_F(HostLinkTest, AnotherDescriptorEndsTheWait) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const UniqueFd reading(pipe[0]);
  const UniqueFd writing(pipe[1]);
  ASSERT_EQ(::write(writing.get(), "x", 1), 1);
  EXPECT_EQ(link->receive(bytes, soon(), {-1, reading.get()}), HostLink::Event::Other);
}

TEST_F(HostLinkTest, SendingToNobodyFails) {
  EXPECT_TRUE(link->send("hello\n"));
  peer.close();
  EXPECT_FALSE(link->send("hello\n"));
}

TEST_F(HostLinkTest, ConnectingToNobodySaysWhy) {
  int error = 0;
  EXPECT_EQ(HostLink::connect(folder / "nobody", error), nullptr);
  EXPECT_EQ(error, ENOENT);
  EXPECT_EQ(HostLink::connect(path, error), nullptr);
  EXPECT_EQ(error, ECONNREFUSED);
}

}  // namespace
}  // namespace kelpie::cli
