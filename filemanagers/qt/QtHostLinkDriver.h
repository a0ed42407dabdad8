#pragma once

#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "common/FileManagerSession.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::filemanagers {

// Moves the bytes of a session through one socket on Qt's main loop: connects, has the extension
// started when nobody listens, and keeps the session's time. Each turn of the loop does a bounded
// piece of work. Main thread.
class QtHostLinkDriver {
 public:
  // Has the extension started; calls `done` later, with what went wrong or nothing.
  using Starter = std::function<void(std::function<void(const std::string& problem)> done)>;

  // Per turn of the main loop: bytes that are read, badges that are asked for.
  static constexpr std::size_t kReadSize = std::size_t{64} << 10U;
  static constexpr std::size_t kQuestions = 256;
  // An extension that lets so much wait to be read is left.
  static constexpr std::size_t kMaximumUnsent = std::size_t{8} << 20U;

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
  // 0, or the system's error number.
  int connect();
  // False when the connection has ended.
  bool read();
  bool write();
  void end();
  void arm();
  void readable();

  FileManagerSession& session_;
  std::string path_;
  Starter starter_;
  UniqueFd socket_;
  std::string unsent_;
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
