#pragma once

#include <functional>
#include <memory>
#include <string>

#include "linux/base/GLibPointers.h"

namespace kelpie::filemanagers {

// The session bus, as far as a file manager needs it: it starts the extension, tells when it is
// there, and shows notifications. Nothing here waits; without a bus nothing happens. Main thread.
class ExtensionService {
 public:
  // `onAppeared` is called each time that the extension has taken its name, and once if it has it
  // already.
  explicit ExtensionService(std::function<void()> onAppeared);
  ~ExtensionService();
  ExtensionService(const ExtensionService&) = delete;
  ExtensionService& operator=(const ExtensionService&) = delete;

  // Has the bus start the extension unless it runs. `done` is called later: the extension listens
  // then, if it could be started; else it says why not, in one line.
  void start(std::function<void(const std::string& problem)> done);

  // Shows the user a notification; only in the log where no service shows any.
  void notify(const std::string& title, const std::string& text);

 private:
  struct State;
  // Goes on when there is a bus; with null, and why, when there is none.
  using BusHandler = std::function<void(GDBusConnection* bus, const std::string& problem)>;
  void withBus(BusHandler handler);
  static void gotBus(GObject* source, GAsyncResult* result, gpointer self);

  std::shared_ptr<State> state_;
};

}  // namespace kelpie::filemanagers
