#include "agent/desktop/DesktopNotifier.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "linux/base/MainLoop.h"
#include "linux/base/SessionBus.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/linux/PrivateBus.h"

namespace kelpie::agent {
namespace {

constexpr const char* kService = "org.freedesktop.Notifications";

// The desktop's end, which keeps what it is asked to show.
class FakeDesktop {
 public:
  explicit FakeDesktop(GDBusConnection* bus) : bus_(bus) {
    filter_ = g_dbus_connection_add_filter(bus, &FakeDesktop::heard, this, nullptr);
    const GVariantPtr taken(g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", kService, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
        nullptr));
    EXPECT_NE(taken, nullptr);
  }
  ~FakeDesktop() { g_dbus_connection_remove_filter(bus_, filter_); }
  FakeDesktop(const FakeDesktop&) = delete;
  FakeDesktop& operator=(const FakeDesktop&) = delete;

  std::string shown() const {
    const std::lock_guard lock(mutex_);
    return shown_;
  }
  std::string closed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
  }
  // The user does something with the notification, which always has the number 1.
  void tell(const char* signal, GVariant* values) const {
    EXPECT_EQ(g_dbus_connection_emit_signal(bus_, nullptr, "/org/freedesktop/Notifications",
                                            kService, signal, values, nullptr),
              TRUE);
  }

 private:
  // On the connection's own thread.
  static GDBusMessage* heard(GDBusConnection* bus, GDBusMessage* message, gboolean incoming,
                             gpointer self) {
    const char* member = g_dbus_message_get_member(message);
    const std::string name = incoming == FALSE || member == nullptr ? "" : member;
    if (name != "Notify" && name != "CloseNotification") return message;
    const GCharPtr body(g_variant_print(g_dbus_message_get_body(message), FALSE));
    auto* desktop = static_cast<FakeDesktop*>(self);
    {
      const std::lock_guard lock(desktop->mutex_);
      (name == "Notify" ? desktop->shown_ : desktop->closed_) = body.get();
    }
    const GObjectPtr<GDBusMessage> reply(g_dbus_message_new_method_reply(message));
    if (name == "Notify") g_dbus_message_set_body(reply.get(), g_variant_new("(u)", 1U));
    g_dbus_connection_send_message(bus, reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                   nullptr);
    g_object_unref(message);
    return nullptr;
  }

  GDBusConnection* bus_;
  guint filter_ = 0;
  mutable std::mutex mutex_;
  std::string shown_;   // guarded by mutex_, as is
  std::string closed_;  // what was to be taken back
};

class DesktopNotifierTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }

  PrivateBus daemon;
  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  std::unique_ptr<SessionBus> bus = SessionBus::connectTo(daemon.address()).bus;
  std::unique_ptr<SessionBus> other = SessionBus::connectTo(daemon.address()).bus;
};

TEST_F(DesktopNotifierTest, ShowsTheTextAsTextNotAsMarkup) {
  const FakeDesktop desktop(other->connection());
  DesktopNotifier notifier(bus->connection(), log);
  notifier.notify("Push failed", "<b> & \xFF");
  ASSERT_TRUE(runUntil([&] { return !desktop.shown().empty(); }));
  EXPECT_NE(desktop.shown().find("'Push failed'"), std::string::npos) << desktop.shown();
  EXPECT_NE(desktop.shown().find("&lt;b&gt; &amp; \\\\xff"), std::string::npos) << desktop.shown();
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(DesktopNotifierTest, AButtonThatIsPressedCountsOnce) {
  const FakeDesktop desktop(other->connection());
  DesktopNotifier notifier(bus->connection(), log);
  int pressed = 0;
  notifier.offer("Push is still running", "r", {"Cancel", [&] { ++pressed; }});
  ASSERT_TRUE(runUntil([&] {
    return desktop.shown().find("['do', 'Cancel']") != std::string::npos;
  })) << desktop.shown();
  // Until the number has come back, the button cannot be known.
  ASSERT_TRUE(runUntil([&] {
    if (pressed == 0) desktop.tell("ActionInvoked", g_variant_new("(us)", 1U, "do"));
    return pressed > 0;
  }));
  desktop.tell("ActionInvoked", g_variant_new("(us)", 1U, "do"));
  notifier.notify("Second", "text");
  ASSERT_TRUE(runUntil([&] { return desktop.shown().find("Second") != std::string::npos; }));
  EXPECT_EQ(pressed, 1);
}

TEST_F(DesktopNotifierTest, WhatIsWithdrawnIsClosedAndItsButtonDead) {
  const FakeDesktop desktop(other->connection());
  DesktopNotifier notifier(bus->connection(), log);
  int pressed = 0;
  const Notifier::Key key =
      notifier.offer("Push is still running", "r", {"Cancel", [&] { ++pressed; }});
  notifier.withdraw(key);
  ASSERT_TRUE(runUntil([&] { return desktop.closed() == "(1,)"; })) << "once its number is known";
  desktop.tell("ActionInvoked", g_variant_new("(us)", 1U, "do"));
  notifier.notify("Second", "text");
  ASSERT_TRUE(runUntil([&] { return desktop.shown().find("Second") != std::string::npos; }));
  EXPECT_EQ(pressed, 0);
}

TEST_F(DesktopNotifierTest, AListenerHearsWhatTheDesktopDoesNotShow) {
  DesktopNotifier notifier(nullptr, log);
  std::string told;
  notifier.setListener(
      [&](const std::string& title, const std::string& text) { told = title + ": " + text; });
  notifier.notify("Push failed", "text");
  EXPECT_EQ(told, "Push failed: text");
}

TEST_F(DesktopNotifierTest, AnEndlessTextIsShortened) {
  const FakeDesktop desktop(other->connection());
  DesktopNotifier notifier(bus->connection(), log);
  notifier.notify("Push failed", std::string(1'000'000, 'x'));
  ASSERT_TRUE(runUntil([&] { return !desktop.shown().empty(); }));
  EXPECT_LT(desktop.shown().size(), 5000U);
}

TEST_F(DesktopNotifierTest, WithoutTheServiceTheLogSaysSo) {
  DesktopNotifier notifier(bus->connection(), log);
  notifier.notify("Push failed", "text");
  ASSERT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  EXPECT_TRUE(log.lines()[0].starts_with("No notification was shown: "));
}

TEST_F(DesktopNotifierTest, WithoutABusTheLogSaysSo) {
  DesktopNotifier notifier(nullptr, log);
  notifier.notify("Push failed", "text");
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(DesktopNotifierTest, WhatIsUnderWayEndsWithIt) {
  {
    DesktopNotifier notifier(bus->connection(), log);
    notifier.notify("Push failed", "text");
  }
  DesktopNotifier later(bus->connection(), log);
  later.notify("Second", "text");
  EXPECT_TRUE(runUntil([&] { return !log.lines().empty(); }));
  EXPECT_EQ(log.lines().size(), 1U) << "only the one that is still there";
}

}  // namespace
}  // namespace kelpie::agent
