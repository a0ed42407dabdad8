#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "common/FileManagerSession.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::filemanagers {

// The socket between a session and the extension: connects it, and moves its bytes in pieces that
// hold the main loop for a few milliseconds. Whoever owns it waits for the socket by the means of
// its main loop. Never waits itself, but in serveUntil(). Main thread.
class ExtensionSocket {
 public:
  using Clock = HostClient::Clock;

  // Bytes that are read and badges that are asked for at once, and for how long that is repeated.
  static constexpr std::size_t kReadSize = std::size_t{8} << 10U;
  static constexpr std::size_t kQuestions = 64;
  static constexpr std::chrono::milliseconds kSlice{2};
  // An extension that lets so much wait to be read is left.
  static constexpr std::size_t kMaximumUnsent = std::size_t{8} << 20U;

  // `path` is that of the extension's socket. `session` outlives this.
  ExtensionSocket(FileManagerSession& session, std::string path,
                  std::size_t maximumUnsent = kMaximumUnsent)
      : session_(session), path_(std::move(path)), maximumUnsent_(maximumUnsent) {}
  ExtensionSocket(const ExtensionSocket&) = delete;
  ExtensionSocket& operator=(const ExtensionSocket&) = delete;

  bool isOpen() const { return static_cast<bool>(socket_); }
  int descriptor() const { return socket_.get(); }

  enum class Outcome : std::uint8_t {
    Connected,
    NobodyListens,  // the extension is to be started, and connectAgain() called then
    Failed,         // the session keeps a pause; problem() says why
  };
  // What the session wants when it wantsConnection().
  Outcome connect();
  // The same when the extension has been started, or could not be; false when that failed.
  bool connectAgain();
  // Why the last attempt failed, in one line.
  std::string problem() const;

  // Hands what has come to the session. False when the connection is to be ended.
  bool read();
  // Says what the session has to say. False when the connection is to be ended.
  bool write();
  // Whether the session has, or may have, more to say than was written.
  bool hasMore() const { return hasMore_; }
  // Whether that waits until the socket takes more.
  bool isFull() const { return !unsent_.empty(); }
  // Closes the connection, if there is one, and tells the session.
  void end();

  // Reads and writes until `done` holds, for `limit` at most. Whether it does. The connection may
  // have ended.
  bool serveUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

 private:
  int open();
  bool send();

  FileManagerSession& session_;
  std::string path_;
  std::size_t maximumUnsent_;
  UniqueFd socket_;
  std::string unsent_;
  bool hasMore_ = false;
  int error_ = 0;  // of the last attempt
};

}  // namespace kelpie::filemanagers
