#include "platform/linux/LinuxNotificationCenter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <thread>
#include <vector>

#include "linux/base/MainLoop.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/linux/PrivateBus.h"

namespace kelpie {
namespace {

constexpr const char* kPath = "/org/kelpie/DistributedNotificationCenter";
constexpr const char* kInterface = "org.kelpie.DistributedNotificationCenter";

class LinuxNotificationCenterTest : public testing::Test {
 protected:
  // Once the bus answers, it knows that the center listens.
  LinuxNotificationCenterTest() {
    EXPECT_TRUE(bus->callBus("NameHasOwner", "a.b", "(b)", kLongEnough));
  }

  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }
  // Sends a signal as any program on the bus may.
  void emit(const char* path, const char* interface, const char* member,
            GVariant* arguments) const {
    EXPECT_TRUE(g_dbus_connection_emit_signal(other->connection(), nullptr, path, interface, member,
                                              arguments, nullptr));
  }
  void emitPosted(const char* name, const char* object) const {
    emit(kPath, kInterface, "Posted", g_variant_new("(ss)", name, object));
  }
  std::unique_ptr<NotificationObservation> observe(LinuxNotificationCenter& where,
                                                   const std::string& name) {
    return where.addObserver(
        name, [this, name](const std::string& object) { heard.push_back(name + " " + object); });
  }
  bool runUntilHeard(std::size_t count) {
    return runUntil([&] { return heard.size() >= count; });
  }

  PrivateBus daemon;
  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  std::unique_ptr<SessionBus> bus = SessionBus::connectTo(daemon.address()).bus;
  std::unique_ptr<SessionBus> other = SessionBus::connectTo(daemon.address()).bus;
  LinuxNotificationCenter center{bus.get(), log};
  std::vector<std::string> heard;
};

TEST_F(LinuxNotificationCenterTest, AnObserverHearsItsNameFromWhoeverPostsIt) {
  const auto observation = observe(center, "KPApplicationRunning");
  emitPosted("Another", "x");
  emitPosted("KPApplicationRunning", "first");
  LinuxNotificationCenter poster(other.get(), log);
  poster.post("KPApplicationRunning", "second");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(heard, (std::vector<std::string>{"KPApplicationRunning first",
                                             "KPApplicationRunning second"}));
}

TEST_F(LinuxNotificationCenterTest, PostsASignalOfTheFixedForm) {
  std::vector<std::string> seen;
  const auto note = [](GDBusConnection*, const gchar*, const gchar* path, const gchar* interface,
                       const gchar* member, GVariant* arguments, gpointer data) {
    const GCharPtr text(g_variant_print(arguments, TRUE));
    static_cast<std::vector<std::string>*>(data)->push_back(std::string(path) + " " + interface +
                                                            "." + member + " " + text.get());
  };
  const guint id =
      g_dbus_connection_signal_subscribe(other->connection(), nullptr, nullptr, nullptr, kPath,
                                         nullptr, G_DBUS_SIGNAL_FLAGS_NONE, note, &seen, nullptr);
  // The bus takes this connection's wish to listen before it answers its next call.
  ASSERT_TRUE(other->callBus("NameHasOwner", "a.b", "(b)", kLongEnough));
  std::thread([&] { center.post("KPAppMessage", "{\"a\": 1}"); }).join();
  EXPECT_TRUE(runUntil([&] { return !seen.empty(); }));
  const std::string want =
      "/org/kelpie/DistributedNotificationCenter org.kelpie.DistributedNotificationCenter.Posted "
      "('KPAppMessage', '{\"a\": 1}')";
  EXPECT_EQ(seen, std::vector<std::string>{want});
  g_dbus_connection_signal_unsubscribe(other->connection(), id);
}

TEST_F(LinuxNotificationCenterTest, WhatIsPostedBeforeTheObserverComesReachesIt) {
  emitPosted("KPApplicationRunning", "early");
  ASSERT_TRUE(other->callBus("NameHasOwner", "a.b", "(b)", kLongEnough));
  // The bus has passed it on, and the main loop has not run since.
  const auto observation = observe(center, "KPApplicationRunning");
  EXPECT_TRUE(runUntilHeard(1));
}

TEST_F(LinuxNotificationCenterTest, WhatMustBeHandledFirstRunsBeforeEachDelivery) {
  center.setBeforeDelivery([this] { heard.emplace_back("before"); });
  const auto observation = observe(center, "name");
  emitPosted("name", "1");
  emitPosted("name", "2");
  EXPECT_TRUE(runUntilHeard(4));
  EXPECT_EQ(heard, (std::vector<std::string>{"before", "name 1", "before", "name 2"}));
}

TEST_F(LinuxNotificationCenterTest, AnObservationThatIsLetGoHearsNothingMore) {
  auto observation = observe(center, "name");
  const auto witness = observe(center, "witness");
  emitPosted("name", "1");
  ASSERT_TRUE(runUntilHeard(1));
  observation.reset();
  emitPosted("name", "2");
  emitPosted("witness", "3");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(heard, (std::vector<std::string>{"name 1", "witness 3"}));
}

TEST_F(LinuxNotificationCenterTest, AnObserverMayLetItselfAndOthersGo) {
  std::unique_ptr<NotificationObservation> second;
  std::unique_ptr<NotificationObservation> first =
      center.addObserver("name", [&](const std::string&) {
        heard.emplace_back("first");
        second.reset();
        first.reset();
      });
  second = observe(center, "name");
  const auto witness = observe(center, "witness");
  emitPosted("name", "");
  emitPosted("witness", "");
  EXPECT_TRUE(runUntilHeard(2));
  EXPECT_EQ(heard, (std::vector<std::string>{"first", "witness "}));
}

TEST_F(LinuxNotificationCenterTest, SignalsOfAnotherFormAreDropped) {
  const auto observation = observe(center, "name");
  emit(kPath, kInterface, "Posted", g_variant_new("(s)", "name"));
  emit(kPath, kInterface, "Posted", g_variant_new("(si)", "name", 1));
  emit(kPath, kInterface, "Posted", nullptr);
  emit(kPath, kInterface, "Removed", g_variant_new("(ss)", "name", "wrong member"));
  emit(kPath, "org.kelpie.Other", "Posted", g_variant_new("(ss)", "name", "wrong interface"));
  emit("/org/kelpie/Other", kInterface, "Posted", g_variant_new("(ss)", "name", "wrong path"));
  emitPosted("name", "right");
  EXPECT_TRUE(runUntilHeard(1));
  EXPECT_EQ(heard, std::vector<std::string>{"name right"});
  const std::string line = std::string("dropped a notification of ") +
                           g_dbus_connection_get_unique_name(other->connection()) +
                           " that is not of the form (ss)";
  EXPECT_EQ(log.lines(), (std::vector<std::string>{line, line, line}));
}

TEST_F(LinuxNotificationCenterTest, AnArgumentErrorCostsItsNotificationOnly) {
  const auto raising = center.addObserver(
      "name", [](const std::string&) { throw std::invalid_argument("absent value"); });
  const auto observation = observe(center, "name");
  emitPosted("name", "x");
  EXPECT_TRUE(runUntilHeard(1));
  EXPECT_EQ(log.lines(), std::vector<std::string>{"invalid argument: absent value"});
}

TEST_F(LinuxNotificationCenterTest, TextThatIsNotUtf8IsPostedMarked) {
  const auto observation = observe(center, "name");
  center.post("name", std::string_view("a\xFF\0b", 4));
  EXPECT_TRUE(runUntilHeard(1));
  EXPECT_EQ(heard, std::vector<std::string>{"name a\xEF\xBF\xBD\xEF\xBF\xBD"
                                            "b"});
}

TEST_F(LinuxNotificationCenterTest, AFailureToPostIsOneLogLine) {
  LinuxNotificationCenter nobody(nullptr, log);
  const auto observation = observe(nobody, "name");
  nobody.post("name", "x");
  bool closed = false;
  bus->setClosedHandler([&] { closed = true; });
  daemon.end();
  ASSERT_TRUE(runUntil([&] { return closed; }));
  center.post("name", "x");
  EXPECT_EQ(log.lines(), (std::vector<std::string>{
                             "the notification name cannot be posted: there is no session bus",
                             "the notification name cannot be posted: The connection is closed"}));
}

}  // namespace
}  // namespace kelpie
