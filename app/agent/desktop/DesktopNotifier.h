#pragma once

#include <gio/gio.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "agent/desktop/Notifier.h"
#include "foundation/ThreadBound.h"
#include "linux/base/GLibPointers.h"
#include "platform/Log.h"

namespace kelpie::agent {

// Notifications of the desktop, org.freedesktop.Notifications on the session bus. Where there is no
// such service, the log says so. Main thread.
class DesktopNotifier final : public Notifier {
 public:
  // Hears of every notification, also where the desktop shows none.
  using Listener = std::function<void(const std::string& title, const std::string& text)>;

  // `bus` is null where there is none. `log` outlives this.
  DesktopNotifier(GDBusConnection* bus, Log& log);
  // Calls under way are given up.
  ~DesktopNotifier() override;
  DesktopNotifier(const DesktopNotifier&) = delete;
  DesktopNotifier& operator=(const DesktopNotifier&) = delete;

  void setListener(Listener listener) { listener_ = std::move(listener); }

  void notify(const std::string& title, const std::string& text) override;
  Key offer(const std::string& title, const std::string& text, Button button) override;
  void withdraw(Key key) override;

  // Keeps account of this many notifications with a button; older ones stay, but their buttons do
  // nothing.
  static constexpr std::size_t kMostOffers = 64;

 private:
  struct Offer {
    std::uint32_t number = 0;  // the desktop's own; 0 until it has told it
    std::function<void()> pressed;
  };
  struct Call;

  void show(Key key, const std::string& title, const std::string& text, const std::string& label);
  void close(std::uint32_t number);
  // The offer with the desktop's number; the end iterator when there is none.
  std::map<Key, Offer>::iterator offerOf(std::uint32_t number);
  static void answered(GObject* bus, GAsyncResult* result, gpointer call);
  static void heard(GDBusConnection* bus, const gchar* sender, const gchar* path,
                    const gchar* interface, const gchar* signal, GVariant* values, gpointer self);

  GObjectPtr<GDBusConnection> bus_;
  Log& log_;
  GObjectPtr<GCancellable> cancellable_;
  Listener listener_;
  guint signals_ = 0;
  Key lastKey_ = 0;
  std::map<Key, Offer> offers_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
