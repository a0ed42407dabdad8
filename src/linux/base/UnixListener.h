#pragma once

#include <functional>
#include <memory>
#include <string>

#include "foundation/Result.h"
#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"

namespace kelpie {

// A listening socket on the main loop. Peers of another user are turned away with a log line. Its
// file goes with it, and with the process (SocketFiles). Main thread.
class UnixListener {
 public:
  // Receives a connection of this user, non-blocking.
  using Handler = std::function<void(UniqueFd connection)>;

  // Fails when the path is taken, too long, or the socket cannot be made. `loop` outlives the
  // listener.
  static Result<std::unique_ptr<UnixListener>> create(MainLoop& loop, std::string path,
                                                      Handler handler);
  ~UnixListener();
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;

 private:
  UnixListener(MainLoop& loop, std::string path, UniqueFd socket, Handler handler);
  void listen();
  void accept();

  MainLoop& loop_;
  std::string path_;
  UniqueFd socket_;
  Handler handler_;
  std::unique_ptr<EventLoop::Timer> source_;  // waits for connections, or for the end of a pause
};

}  // namespace kelpie
