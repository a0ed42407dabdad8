#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "linux/base/UniqueFd.h"

namespace kelpie {

// The other end of a socket, as another process would hold it: plain system calls, no code of the
// system under test.
class TestSocket {
 public:
  // Connected to the socket at `path`, or empty.
  static TestSocket connect(const std::string& path);
  // Listening at `path`, with room for `backlog` connections that wait.
  static TestSocket listen(const std::string& path, int backlog = 16);
  // Takes the connection that waits, or waits for one.
  TestSocket accept() const;

  explicit operator bool() const { return static_cast<bool>(fd_); }
  int fd() const { return fd_.get(); }
  void close() { fd_.reset(); }

  // Writes all, waiting as long as it takes. False when the other end is gone.
  bool write(std::string_view bytes) const;
  // What has arrived, without waiting.
  std::string read();
  // Waits for so many bytes; fewer when the other end is gone.
  std::string readExactly(std::size_t size);
  // Whether the other end has closed; what arrived before is dropped. Does not wait.
  bool isClosed();

 private:
  TestSocket() = default;

  UniqueFd fd_;
};

// A frame of a message port, made by hand.
std::string frameBytes(std::int32_t id, std::string_view payload);
std::string frameHead(std::int32_t id, std::uint64_t length);

}  // namespace kelpie
