#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/ThreadBound.h"
#include "linux/base/LineReader.h"
#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"

namespace kelpie {

// One connected socket of the host link: bytes in, bytes out, never blocking. A host that does not
// read what it is sent is cut off when too much waits for it. Main thread.
class HostConnection {
 public:
  // How many bytes may wait for a host that does not read.
  static constexpr std::size_t kMaximumWaiting = std::size_t{64} << 20U;

  struct Handlers {
    // One line, without its "\n". Returning false ends the connection once the sent bytes are
    // written.
    std::function<bool(std::string_view line)> onLine;
    // A line beyond the limit was begun; it is skipped to its end.
    std::function<void()> onOverlong;
    // The connection has ended, for the reason given ("" when the host just left). Called once, as
    // the last thing, never from within send(). The connection may be destroyed in it.
    std::function<void(std::string_view reason)> onEnd;
  };

  // `socket` is connected and non-blocking; `loop` outlives the connection.
  HostConnection(MainLoop& loop, UniqueFd socket, std::size_t maximumLine, Handlers handlers);
  HostConnection(const HostConnection&) = delete;
  HostConnection& operator=(const HostConnection&) = delete;
  ~HostConnection() = default;

  void send(std::string bytes);

 private:
  void read();
  void write();
  void endSoon(std::string reason);
  void end();

  MainLoop& loop_;
  UniqueFd socket_;
  LineReader lines_;
  Handlers handlers_;
  std::deque<std::string> waiting_;
  std::size_t waitingBytes_ = 0;
  std::size_t written_ = 0;  // of waiting_.front()
  bool closing_ = false;     // ends when nothing waits any more
  std::string endReason_;
  std::unique_ptr<MainLoop::Source> reading_;
  std::unique_ptr<MainLoop::Source> writing_;  // while the socket takes no more
  std::unique_ptr<EventLoop::Timer> ending_;
  ThreadBound thread_;
};

}  // namespace kelpie
