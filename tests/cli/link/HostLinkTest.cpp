#include "cli/link/HostLink.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "support/TemporaryFolder.h"
#include "support/linux/TestSocket.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

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
  void write(std::string_view bytes) const { ASSERT_TRUE(peer.write(bytes)); }
  HostLink::Event receive() { return link->receive(message, soon()); }
  static Clock::time_point soon() { return Clock::now() + std::chrono::seconds(30); }

  TemporaryFolder folder;
  std::string path = folder / "finder";
  TestSocket listener = TestSocket::listen(path);
  TestSocket peer = TestSocket::connect(folder / "nobody");
  std::unique_ptr<HostLink> link;
  json message;
};

TEST_F(HostLinkTest, MessagesComeInOrderHoweverTheyAreCut) {
  write("{\"n\":1}\n{\"n\"");
  EXPECT_EQ(receive(), HostLink::Event::Message);
  EXPECT_EQ(message["n"], 1);
  write(":2}\n\n{\"n\":3}\n");
  EXPECT_EQ(receive(), HostLink::Event::Message);
  EXPECT_EQ(message["n"], 2);
  EXPECT_EQ(receive(), HostLink::Event::Message);
  EXPECT_EQ(message["n"], 3);
}

TEST_F(HostLinkTest, WhatIsNoMessageIsDroppedAndCounted) {
  write("nonsense\n[]\n7\n\"text\"\n" + std::string(1000, '[') + "\n{\"a\":\n{\"n\":1}\n");
  EXPECT_EQ(receive(), HostLink::Event::Message);
  EXPECT_EQ(message["n"], 1);
  EXPECT_EQ(link->droppedLines(), 6U);
}

TEST_F(HostLinkTest, AnObjectThatNestsTooDeepIsDropped) {
  const int deep = HostLink::kMaximumNesting;
  std::string line = "{\"n\":";
  for (int i = 0; i < deep; ++i) line += "{\"n\":";
  write(line + "1" + std::string(static_cast<std::size_t>(deep) + 1, '}') + "\n{\"n\":2}\n");
  EXPECT_EQ(receive(), HostLink::Event::Message);
  EXPECT_EQ(message["n"], 2);
  EXPECT_EQ(link->droppedLines(), 1U);
}

TEST_F(HostLinkTest, ALineWithoutAnEndIsNotKept) {
  std::thread writer([this] {
    const std::string piece(std::size_t{1} << 20U, 'x');
    for (std::size_t sent = 0; sent <= HostLink::kMaximumLine; sent += piece.size()) {
      if (!peer.write(piece)) return;
    }
    write("\n{\"n\":1}\n");
  });
  EXPECT_EQ(receive(), HostLink::Event::Message);
  writer.join();
  EXPECT_EQ(message["n"], 1);
  EXPECT_EQ(link->droppedLines(), 1U);
}

TEST_F(HostLinkTest, SilenceAndTheEndAreToldApart) {
  EXPECT_EQ(link->receive(message, Clock::now()), HostLink::Event::Quiet);
  write("{\"n\":1}\n");
  peer.close();
  EXPECT_EQ(receive(), HostLink::Event::Message) << "what came before the end counts";
  EXPECT_EQ(receive(), HostLink::Event::Ended);
  EXPECT_EQ(receive(), HostLink::Event::Ended);
}

TEST_F(HostLinkTest, AnotherDescriptorEndsTheWait) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const UniqueFd reading(pipe[0]);
  const UniqueFd writing(pipe[1]);
  ASSERT_EQ(::write(writing.get(), "x", 1), 1);
  EXPECT_EQ(link->receive(message, soon(), {-1, reading.get()}), HostLink::Event::Other);
}

TEST_F(HostLinkTest, SendingToNobodyFails) {
  EXPECT_TRUE(link->send({{"type", "hello"}}));
  peer.close();
  EXPECT_FALSE(link->send({{"type", "hello"}}));
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
