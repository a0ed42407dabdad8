#pragma once

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "linux/base/SessionBus.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/Log.h"

namespace kelpie {

// Notifications as signals on the session bus: path /org/kelpie/DistributedNotificationCenter,
// interface org.kelpie.DistributedNotificationCenter, member Posted, arguments the name and the
// object, both strings. It listens from the moment it is made: what is posted from then on reaches
// those who observe when the main loop delivers it.
class LinuxNotificationCenter final : public DistributedNotificationCenter {
 public:
  // Main thread. Without a bus (null) nothing is heard, and posting fails. Both are borrowed.
  LinuxNotificationCenter(const SessionBus* bus, Log& log);
  ~LinuxNotificationCenter() override;
  LinuxNotificationCenter(const LinuxNotificationCenter&) = delete;
  LinuxNotificationCenter& operator=(const LinuxNotificationCenter&) = delete;

  std::unique_ptr<NotificationObservation> addObserver(
      std::string_view name, std::function<void(const std::string& object)> handler) override;
  // `prepare` runs before each notification is handed to its observers: for what must be handled
  // first. Main thread.
  void setBeforeDelivery(std::function<void()> prepare);
  // Bytes that are not UTF-8 are posted as U+FFFD.
  void post(std::string_view name, std::string_view object) override;

 private:
  class Observation;
  struct Observers;

  static void received(GDBusConnection* connection, const gchar* sender, const gchar* path,
                       const gchar* interface, const gchar* member, GVariant* arguments,
                       gpointer observers);

  const SessionBus* bus_;
  Log& log_;
  std::shared_ptr<Observers> observers_;  // shared with the observations and the subscription
  guint subscription_ = 0;
};

}  // namespace kelpie
