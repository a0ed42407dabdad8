#pragma once

#include <gio/gio.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "linux/base/GLibPointers.h"

namespace kelpie {

// This process's connection to the session bus. Its end does not end the process. Made and let go
// on the main thread, where it delivers.
class SessionBus {
 public:
  // The result of connecting: a connection, or why there is none, in one line.
  struct Attempt {
    std::unique_ptr<SessionBus> bus;
    std::string problem;
  };
  // Connects to the bus that DBUS_SESSION_BUS_ADDRESS names, else to `$XDG_RUNTIME_DIR/bus`; never
  // starts one. Tries once more when that fails. Runs the main loop meanwhile, for 5 seconds at
  // most.
  static Attempt connect();
  // Connects to the bus at that D-Bus address; tried once.
  static Attempt connectTo(const std::string& address);

  // Why a connection has closed, in one line, and the status with which a program ends then: 0 with
  // the bus, since with it ends the session; 1 where the bus is still there, so that the program is
  // started again. Connects to find out.
  struct Loss {
    const char* reason;
    int status;
  };
  static Loss loss();

  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  // Borrowed. Any thread.
  GDBusConnection* connection() const { return connection_.get(); }
  // Calls `onClosed` once on the main thread when the connection has ended, as it does with the
  // bus. Replaces the former one.
  void setClosedHandler(std::function<void()> onClosed) { onClosed_ = std::move(onClosed); }

  // Calls a method of the bus itself with one string, and waits for the answer, at most `limit`;
  // no event is delivered meanwhile. Returns the values of the answer, which has that D-Bus type,
  // such as "(as)"; null when no answer comes in time or it has another type. Any thread.
  GVariantPtr callBus(const char* method, const std::string& argument, const char* answerType,
                      std::chrono::milliseconds limit) const;

 private:
  explicit SessionBus(GObjectPtr<GDBusConnection> connection);
  static void closed(GDBusConnection* connection, gboolean vanished, GError* error, gpointer self);

  GObjectPtr<GDBusConnection> connection_;
  gulong closedSignal_ = 0;
  std::function<void()> onClosed_;
};

}  // namespace kelpie
