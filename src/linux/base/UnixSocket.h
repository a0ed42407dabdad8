#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "linux/base/UniqueFd.h"

namespace kelpie {

// Stream sockets in the file system. All are non-blocking and close on exec. Any thread.
class UnixSocket {
 public:
  UnixSocket() = delete;

  // The result of a call: a socket, or the system's error number.
  struct Result {
    UniqueFd socket;
    int error = 0;
  };

  // Connects without waiting: ENOENT or ECONNREFUSED when nobody listens, EAGAIN when the queue of
  // the listener is full, ENAMETOOLONG when the path is too long for an address.
  static Result connect(const std::string& path);
  // Removes a socket's file when nobody listens on it. Returns whether the path is free then.
  static bool removeStale(const std::string& path);
  // A listening socket, its file 0600. A socket that nobody listens on is replaced; anything else
  // at the path makes this fail with EADDRINUSE.
  static Result listen(const std::string& path);

  // Who is at the other end of a connection: the user id; absent when the system does not say.
  static std::optional<uid_t> peerUser(int connection);
  // The process that connected; absent when the system does not say.
  static std::optional<pid_t> peerProcess(int connection);
};

}  // namespace kelpie
