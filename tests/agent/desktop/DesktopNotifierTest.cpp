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
#include "support/linux/FakeDesktop.h"
#include "support/linux/PrivateBus.h"

namespace kelpie::agent {
namespace {

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
