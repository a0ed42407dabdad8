#pragma once

#include <QDBusServiceWatcher>
#include <QObject>

#include <functional>
#include <string>

namespace kelpie::filemanagers {

// The session bus, as far as a file manager needs it: it starts the extension, tells when it is
// there, and shows notifications. Nothing here waits; without a bus nothing happens. Main thread.
class QtExtensionService {
 public:
  // `onAppeared` is called each time that the extension takes its name on the bus.
  explicit QtExtensionService(std::function<void()> onAppeared);
  QtExtensionService(const QtExtensionService&) = delete;
  QtExtensionService& operator=(const QtExtensionService&) = delete;

  // Has the bus start the extension unless it runs. `done` is called later, unless this has gone:
  // the extension listens then, if it could be started; else it says why not, in one line.
  void start(std::function<void(const std::string& problem)> done);

  // Shows the user a notification; only in the log where no service shows any.
  void notify(const std::string& title, const std::string& text);

 private:
  // The calls under way end with it.
  QObject calls_;
  QDBusServiceWatcher watcher_;
};

}  // namespace kelpie::filemanagers
