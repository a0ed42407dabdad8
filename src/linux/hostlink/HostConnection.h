#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "linux/base/GLibPointers.h"
#include "linux/base/LineReader.h"

namespace kelpie {

// One connected socket of the host link: bytes in, bytes out, never blocking. A host that does not
// read what it is sent is cut off when too much waits for it. Main context only.
class HostConnection {
 public:
  // How much may wait for a host that does not read, in bytes.
  static constexpr std::size_t kMaximumWaiting = std::size_t{64} << 20U;

  struct Handlers {
    // One line, without its "\n". False ends the connection once what was sent is written.
    std::function<bool(std::string_view line)> onLine;
    // A line beyond the limit was begun; it is skipped to its end.
    std::function<void()> onOverlong;
    // The connection has ended, for the reason given ("" when the host just left). Called once, as
    // the last thing, never from within send(). The connection may be destroyed in it.
    std::function<void(std::string_view reason)> onEnd;
  };

  HostConnection(GObjectPtr<GSocket> socket, std::size_t maximumLine, Handlers handlers);
  HostConnection(const HostConnection&) = delete;
  HostConnection& operator=(const HostConnection&) = delete;
  ~HostConnection() = default;

  void send(std::string bytes);

 private:
  static gboolean readable(GSocket* socket, GIOCondition condition, gpointer self);
  static gboolean writable(GSocket* socket, GIOCondition condition, gpointer self);
  static gboolean ended(gpointer self);

  void watchForReading();
  void watchForWriting();
  void read();
  void write();
  void endSoon(std::string reason);

  GObjectPtr<GSocket> socket_;
  LineReader lines_;
  Handlers handlers_;
  std::deque<std::string> waiting_;
  std::size_t waitingBytes_ = 0;
  std::size_t written_ = 0;  // of waiting_.front()
  bool closing_ = false;     // ends when nothing waits any more
  std::string endReason_;
  GSourcePtr reading_;
  GSourcePtr writing_;
  GSourcePtr ending_;
};

}  // namespace kelpie
