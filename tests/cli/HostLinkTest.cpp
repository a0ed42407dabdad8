#include "cli/HostLink.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>

#include "support/TemporaryFolder.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

// A link whose other end the test holds.
class HostLinkTest : public ::testing::Test {
 protected:
  HostLinkTest() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(std::begin(address.sun_path), path.size());
    const UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_EQ(::listen(listener.get(), 1), 0);
    int error = 0;
    link = HostLink::connect(path, error);
    EXPECT_EQ(error, 0);
    peer.reset(::accept(listener.get(), nullptr, nullptr));
  }
  void write(std::string_view bytes) const {
    ASSERT_EQ(::send(peer.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  HostLink::Event receive() { return link->receive(message, soon()); }
  static Clock::time_point soon() { return Clock::now() + std::chrono::seconds(30); }

  TemporaryFolder folder;
  std::string path = folder / "finder";
  std::unique_ptr<HostLink> link;
  UniqueFd peer;
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
      std::string_view rest = piece;
      while (!rest.empty()) {
        const ssize_t size = ::send(peer.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
        if (size <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(size));
      }
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
  peer.reset();
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
  peer.reset();
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
