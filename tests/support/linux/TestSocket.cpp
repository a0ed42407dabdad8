#include "support/linux/TestSocket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kelpie {
namespace {

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  EXPECT_LT(path.size(), sizeof address.sun_path);
  std::memcpy(&address.sun_path[0], path.data(), path.size());
  return address;
}

}  // namespace

TestSocket TestSocket::connect(const std::string& path) {
  TestSocket socket;
  const sockaddr_un address = addressOf(path);
  socket.fd_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    socket.close();
  return socket;
}

TestSocket TestSocket::listen(const std::string& path, int backlog) {
  TestSocket socket;
  const sockaddr_un address = addressOf(path);
  socket.fd_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  EXPECT_EQ(::bind(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0)
      << path;
  EXPECT_EQ(::listen(socket.fd(), backlog), 0);
  return socket;
}

TestSocket TestSocket::accept() const {
  TestSocket connection;
  connection.fd_.reset(::accept4(fd(), nullptr, nullptr, SOCK_CLOEXEC));
  return connection;
}

bool TestSocket::write(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

std::string TestSocket::read() {
  std::string bytes;
  std::array<char, 65536> part{};
  for (;;) {
    const ssize_t count = ::recv(fd(), part.data(), part.size(), MSG_DONTWAIT);
    if (count <= 0) return bytes;
    bytes.append(part.data(), static_cast<std::size_t>(count));
  }
}

std::string TestSocket::readExactly(std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t received = 0;
  while (received < size) {
    const ssize_t count = ::recv(fd(), bytes.data() + received, size - received, 0);
    if (count <= 0) break;
    received += static_cast<std::size_t>(count);
  }
  bytes.resize(received);
  return bytes;
}

bool TestSocket::isClosed() {
  read();
  char byte = 0;
  const ssize_t count = ::recv(fd(), &byte, 1, MSG_DONTWAIT);
  return count == 0 || (count < 0 && errno == ECONNRESET);
}

std::string frameHead(std::int32_t id, std::uint64_t length) {
  std::string head = "KPM1";
  for (unsigned i = 0; i < 4; ++i)
    head += static_cast<char>((static_cast<std::uint32_t>(id) >> (8 * i)) & 0xFF);
  for (unsigned i = 0; i < 8; ++i) head += static_cast<char>((length >> (8 * i)) & 0xFF);
  return head;
}

std::string frameBytes(std::int32_t id, std::string_view payload) {
  return frameHead(id, payload.size()).append(payload);
}

}  // namespace kelpie
