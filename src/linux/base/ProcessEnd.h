#pragma once

#include <optional>
#include <string>

namespace kelpie {

// The end of the process, which waits for no thread: threads are left where they are.
class ProcessEnd {
 public:
  ProcessEnd() = delete;

  // Ends the process with status 0 on SIGTERM, SIGINT and SIGHUP, whatever its threads do. To be
  // called on the main thread while there is no other: the signals are kept from all threads, and
  // one more thread waits for them. From then on, an exception that nobody catches, such as for
  // want of memory, is one line on standard error before it ends the process by SIGABRT, so that it
  // is started again. What went wrong, in one line, or nothing.
  static std::optional<std::string> onSignals();

  // Removes the socket files of this process (SocketFiles) and ends it. Any thread.
  [[noreturn]] static void now(int status);
};

}  // namespace kelpie
