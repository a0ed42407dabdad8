#pragma once

#include <glib.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "common/ExtensionSocket.h"
#include "common/FileManagerSession.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::filemanagers {

// Moves the bytes of a session through one socket on the file manager's own main loop, the default
// context: connects, has the extension started when nobody listens, and keeps the session's time.
// Each turn of the loop does a bounded piece of work. Main thread.
class HostLinkDriver {
 public:
  // Has the extension started; calls `done` later, with what went wrong or nothing.
  using Starter = std::function<void(std::function<void(const std::string& problem)> done)>;

  // `socket` is the path of the extension's. `session` outlives this.
  HostLinkDriver(FileManagerSession& session, std::string socket, Starter starter,
                 std::size_t maximumUnsent = ExtensionSocket::kMaximumUnsent);
  ~HostLinkDriver();
  HostLinkDriver(const HostLinkDriver&) = delete;
  HostLinkDriver& operator=(const HostLinkDriver&) = delete;

  // Connects when that is due, from the next turn of the main loop on. To be called once.
  void start() { wake(); }
  // The session may have something to say: it is sent in the next turn of the main loop.
  void wake();
  // The extension has appeared on the session bus: no pause is kept.
  void extensionAppeared();
  // Serves the socket, and nothing else, until `done` holds; for `limit` at most. Whether it does.
  bool serveUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

 private:
  using Clock = HostClient::Clock;

  // Does what is due and says what there is to say; then sees to it that it runs again in time.
  void run();
  void attempt();
  void connectAgain(const std::string& problem);
  // There is a connection now; there is none any more.
  void watch();
  void end();
  void arm();

  static gboolean readable(gint fd, GIOCondition condition, gpointer self);
  static gboolean writable(gint fd, GIOCondition condition, gpointer self);
  static gboolean woken(gpointer self);
  static gboolean timeCame(gpointer self);

  FileManagerSession& session_;
  ExtensionSocket socket_;
  Starter starter_;
  GSourcePtr input_;
  GSourcePtr output_;  // while the socket takes no more
  GSourcePtr wake_;
  GSourcePtr timer_;
  std::optional<HostClient::Time> timerAt_;
  // The starter answers late, also when this has gone.
  std::shared_ptr<HostLinkDriver*> self_ = std::make_shared<HostLinkDriver*>(this);
};

}  // namespace kelpie::filemanagers
