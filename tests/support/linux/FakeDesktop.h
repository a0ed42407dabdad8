#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <string>

#include "foundation/Mutex.h"

namespace kelpie {

// The desktop's end of notifications on a bus, which keeps what it is asked to show. Every
// notification has the number 1.
class FakeDesktop {
 public:
  // `bus` outlives this.
  explicit FakeDesktop(GDBusConnection* bus);
  ~FakeDesktop();
  FakeDesktop(const FakeDesktop&) = delete;
  FakeDesktop& operator=(const FakeDesktop&) = delete;

  // The arguments of what came last, as text: to be shown, and to be taken back. Empty: nothing
  // has come. Any thread.
  std::string shown() const;
  std::string closed() const;
  // The number of what was shown last; 0 when nothing was.
  std::uint32_t number() const;
  // The user does something with the notification.
  void tell(const char* signal, GVariant* values) const;

 private:
  // On the connection's own thread.
  static GDBusMessage* heard(GDBusConnection* bus, GDBusMessage* message, gboolean incoming,
                             gpointer self);

  GDBusConnection* bus_;
  guint filter_ = 0;
  mutable Mutex mutex_;
  std::uint32_t number_ KELPIE_GUARDED_BY(mutex_) = 0;
  std::string shown_ KELPIE_GUARDED_BY(mutex_);
  std::string closed_ KELPIE_GUARDED_BY(mutex_);  // what was to be taken back
};

}  // namespace kelpie
