#include "support/linux/FakeDesktop.h"

#include <gtest/gtest.h>

#include "linux/base/GLibPointers.h"

namespace kelpie {
namespace {

constexpr const char* kNotifications = "org.freedesktop.Notifications";

}  // namespace

FakeDesktop::FakeDesktop(GDBusConnection* bus) : bus_(bus) {
  filter_ = g_dbus_connection_add_filter(bus, &FakeDesktop::heard, this, nullptr);
  const GVariantPtr taken(g_dbus_connection_call_sync(
      bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
      g_variant_new("(su)", kNotifications, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      nullptr));
  EXPECT_NE(taken, nullptr);
}

FakeDesktop::~FakeDesktop() { g_dbus_connection_remove_filter(bus_, filter_); }

std::string FakeDesktop::shown() const {
  const MutexLock lock(mutex_);
  return shown_;
}

std::string FakeDesktop::closed() const {
  const MutexLock lock(mutex_);
  return closed_;
}

std::uint32_t FakeDesktop::number() const {
  const MutexLock lock(mutex_);
  return number_;
}

void FakeDesktop::tell(const char* signal, GVariant* values) const {
  EXPECT_EQ(g_dbus_connection_emit_signal(bus_, nullptr, "/org/freedesktop/Notifications",
                                          kNotifications, signal, values, nullptr),
            TRUE);
}

GDBusMessage* FakeDesktop::heard(GDBusConnection* bus, GDBusMessage* message, gboolean incoming,
                                 gpointer self) {
  const char* member = g_dbus_message_get_member(message);
  const std::string name = incoming == FALSE || member == nullptr ? "" : member;
  if (name != "Notify" && name != "CloseNotification") return message;
  const GCharPtr body(g_variant_print(g_dbus_message_get_body(message), FALSE));
  auto* desktop = static_cast<FakeDesktop*>(self);
  std::uint32_t number = 0;
  {
    const MutexLock lock(desktop->mutex_);
    (name == "Notify" ? desktop->shown_ : desktop->closed_) = body.get();
    if (name == "Notify") number = ++desktop->number_;
  }
  const GObjectPtr<GDBusMessage> reply(g_dbus_message_new_method_reply(message));
  if (name == "Notify") g_dbus_message_set_body(reply.get(), g_variant_new("(u)", number));
  g_dbus_connection_send_message(bus, reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                 nullptr);
  g_object_unref(message);
  return nullptr;
}

}  // namespace kelpie
