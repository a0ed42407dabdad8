#pragma once

#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "common/ExtensionSocket.h"
#include "common/FileManagerSession.h"

namespace kelpie::filemanagers {

// Moves the bytes of a session through one socket on Qt's main loop: connects, has the extension
// started when nobody listens, and keeps the session's time. Each turn of the loop does a bounded
// piece of work. Main thread.
class QtHostLinkDriver {
 public:
  // Has the extension started; calls `done` later, with what went wrong or nothing.
  using Starter = std::function<void(std::function<void(const std::string& problem)> done)>;

  // `socket` is the path of the extension's. `session` outlives this.
  QtHostLinkDriver(FileManagerSession& session, std::string socket, Starter starter);
  ~QtHostLinkDriver();
  QtHostLinkDriver(const QtHostLinkDriver&) = delete;
  QtHostLinkDriver& operator=(const QtHostLinkDriver&) = delete;

  // Connects when that is due, from the next turn of the main loop on. To be called once.
  void start() { wake(); }
  // Connects at once where that is due and takes no waiting. Whether there is a connection.
  bool connectNow();
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
  void readable();

  FileManagerSession& session_;
  ExtensionSocket socket_;
  Starter starter_;
  // Let go by the loop, as they may be what is calling; they are switched off before.
  struct LateDelete {
    void operator()(QSocketNotifier* notifier) const;
  };
  std::unique_ptr<QSocketNotifier, LateDelete> input_;
  std::unique_ptr<QSocketNotifier, LateDelete> output_;  // is on while the socket takes no more
  QTimer wake_;
  QTimer timer_;
  // The starter answers late, also when this has gone.
  std::shared_ptr<QtHostLinkDriver*> self_ = std::make_shared<QtHostLinkDriver*>(this);
};

}  // namespace kelpie::filemanagers
