#pragma once

#include <gio/gio.h>

#include "agent/desktop/Notifier.h"
#include "linux/base/GLibPointers.h"
#include "platform/Log.h"

namespace kelpie::agent {

// Notifications of the desktop, org.freedesktop.Notifications on the session bus. Where there is no
// such service, the log says so. Main thread.
class DesktopNotifier final : public Notifier {
 public:
  // `bus` is null where there is none. `log` outlives this.
  DesktopNotifier(GDBusConnection* bus, Log& log);
  // What is under way is given up.
  ~DesktopNotifier() override;
  DesktopNotifier(const DesktopNotifier&) = delete;
  DesktopNotifier& operator=(const DesktopNotifier&) = delete;

  void notify(const std::string& title, const std::string& text) override;

 private:
  static void answered(GObject* bus, GAsyncResult* result, gpointer self);

  GObjectPtr<GDBusConnection> bus_;
  Log& log_;
  GObjectPtr<GCancellable> cancellable_;
};

}  // namespace kelpie::agent
