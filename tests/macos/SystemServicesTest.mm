#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Dictionary.h"
#include "macos/MainLoop.h"
#include "platform/macos/MacMessagePorts.h"
#include "platform/macos/MacProcessMonitors.h"
#include "platform/macos/MacResourceLimits.h"
#include "platform/macos/MacSerialQueues.h"
#include "platform/macos/MacUserDefaults.h"

// Queues, watches, settings and ports by themselves.
namespace kelpie {
namespace {

// -- Queues ---------------------------------------------------------------------------------------

TEST(MacQueues, RunTasksInTheirOrderAndKnowThemselves) {
  MacSerialQueues queues;
  const auto queue = queues.makeQueue("a");
  const auto other = queues.makeQueue("b");
  std::vector<int> order;
  std::atomic<bool> isDone = false;
  std::atomic<bool> knowsItself = false;
  for (int i = 0; i < 100; ++i) queue->post([&order, i] { order.push_back(i); });
  queue->post([&] {
    knowsItself = queue->isCurrent() && !other->isCurrent() && !queues.mainQueue()->isCurrent();
    isDone = true;
  });
  ASSERT_TRUE(runUntil([&] { return isDone.load(); }));
  EXPECT_TRUE(knowsItself);
  EXPECT_TRUE(std::ranges::is_sorted(order));
  EXPECT_EQ(order.size(), 100U);
  EXPECT_FALSE(queue->isCurrent());
}

TEST(MacQueues, RunWhatWasPostedWhenNobodyHoldsThem) {
  std::atomic<bool> isDone = false;
  MacSerialQueues().makeQueue("a")->post([&] { isDone = true; });
  EXPECT_TRUE(runUntil([&] { return isDone.load(); }));
}

TEST(MacQueues, LoseOnlyTheTaskThatRaises) {
  const auto queue = MacSerialQueues().makeQueue("a");
  std::atomic<bool> isDone = false;
  queue->post([] { throw std::invalid_argument("a test"); });
  queue->post([] { throw 7; });
  queue->post([] { [NSException raise:NSGenericException format:@"a test"]; });
  queue->post([&] { isDone = true; });
  EXPECT_TRUE(runUntil([&] { return isDone.load(); }));
}

TEST(MacQueues, TheMainOneRunsOnTheMainThread) {
  const auto queue = MacSerialQueues().mainQueue();
  EXPECT_TRUE(queue->isCurrent());
  bool isDone = false;
  std::thread([&] { queue->post([&] { isDone = queue->isCurrent(); }); }).join();
  EXPECT_FALSE(isDone) << "never inline";
  EXPECT_TRUE(runUntil([&] { return isDone; }));
}

// -- Watches --------------------------------------------------------------------------------------

TEST(MacMonitors, FireForAProcessThatIsGoneAlready) {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  const auto monitor = MacProcessMonitors().makeMonitor(child);
  bool isGone = false;
  monitor->setEventHandler([&] { isGone = true; });
  monitor->resume();
  EXPECT_FALSE(isGone) << "never inline";
  EXPECT_TRUE(runUntil([&] { return isGone; }));
  monitor->cancel();
}

// What the handlers hold goes with them.
TEST(MacMonitors, LiveUntilTheyAreCancelledAndLetGoOfTheirHandlers) {
  const auto held = std::make_shared<int>(0);
  const std::weak_ptr<int> weak = held;
  bool isCancelled = false;
  {
    const auto monitor = MacProcessMonitors().makeMonitor(getpid());
    monitor->setEventHandler([held] {});
    monitor->setCancelHandler([held, &isCancelled] { isCancelled = true; });
    monitor->resume();
    monitor->cancel();
  }
  EXPECT_FALSE(isCancelled) << "never inline";
  EXPECT_TRUE(runUntil([&] { return isCancelled && held.use_count() == 1; }));
}

// The handler can still cancel a monitor that everybody else has let go.
TEST(MacMonitors, LiveForTheirHandlerWhenNobodyHoldsThem) {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  bool couldCancel = false;
  bool isCancelled = false;
  {
    const auto monitor = MacProcessMonitors().makeMonitor(child);
    monitor->setEventHandler([weak = std::weak_ptr(monitor), &couldCancel] {
      const auto self = weak.lock();
      couldCancel = self != nullptr;
      if (self) self->cancel();
    });
    monitor->setCancelHandler([&isCancelled] { isCancelled = true; });
    monitor->resume();
  }
  EXPECT_TRUE(runUntil([&] { return isCancelled; }));
  EXPECT_TRUE(couldCancel);
}

TEST(MacMonitors, ThatWereNeverStartedJustGo) {
  const auto held = std::make_shared<int>(0);
  MacProcessMonitors().makeMonitor(getpid())->setEventHandler([held] {});
  EXPECT_EQ(held.use_count(), 1);
}

// -- Settings -------------------------------------------------------------------------------------

class MacDefaults : public testing::Test {
 protected:
  MacDefaults() { forget(); }
  ~MacDefaults() override { forget(); }

  void forget() {
    for (const std::string_view key : {"a", "key", "other"}) suite->removeObject(key);
  }

  MacUserDefaultsCenter center;
  std::unique_ptr<UserDefaults> suite = center.defaultsWithSuiteName("org.kelpie.tests");
};

TEST_F(MacDefaults, StoreAndRegister) {
  suite->registerDefaults({{"a", true}, {"b", Objects{Object(1), Object(2)}}});
  EXPECT_TRUE(suite->boolForKey("a"));
  suite->setObject("a", false);
  EXPECT_FALSE(suite->boolForKey("a"));
  suite->removeObject("a");
  EXPECT_TRUE(suite->boolForKey("a"));
  EXPECT_EQ(suite->arrayForKey("b").size(), 2U);
  EXPECT_EQ(suite->dictionaryRepresentation()["a"].boolValue(), true);
  EXPECT_TRUE(suite->objectForKey("no such key").isNil());
}

TEST_F(MacDefaults, KeepWhatIsThereWhenAValueIsNoPropertyList) {
  suite->setObject("key", "text");
  suite->setObject("key", *URL::fromString("https://example.org/"));
  suite->setObject("key", Object());
  EXPECT_EQ(suite->stringForKey("key"), "text");
}

TEST_F(MacDefaults, TellOfChangesForAsLongAsSomebodyObserves) {
  int changes = 0;
  auto observation = suite->observe("key", [&] { ++changes; });
  suite->setObject("other", 1);
  drainMainQueue();
  EXPECT_EQ(changes, 0);
  suite->setObject("key", 1);
  EXPECT_TRUE(runUntil([&] { return changes > 0; }));
  drainMainQueue();
  observation.reset();
  changes = 0;
  suite->setObject("key", 2);
  drainMainQueue();
  EXPECT_EQ(changes, 0);
}

// Told by a thread that had begun before the observation went, and by the main thread after it.
TEST_F(MacDefaults, AChangeThatComesTooLateReachesNobody) {
  const auto held = std::make_shared<int>(0);
  auto observation = suite->observe("key", [held] { ++*held; });
  std::thread([&] { suite->setObject("key", "text"); }).join();
  EXPECT_EQ(*held, 0) << "it waits for the main thread";
  observation.reset();
  EXPECT_EQ(held.use_count(), 1);
  drainMainQueue();
  EXPECT_EQ(*held, 0);
}

TEST_F(MacDefaults, SurviveAnObserverThatRaises) {
  const auto observation = suite->observe("key", [] { throw std::invalid_argument("a test"); });
  suite->setObject("key", 1);
  EXPECT_EQ(suite->objectForKey("key").integerValue(), 1);
}

TEST_F(MacDefaults, OfTheProcessItselfAreTheStandardOnes) {
  UserDefaults& standard = center.standardDefaults();
  standard.setObject("KPTestKey", "text");
  EXPECT_TRUE([[[NSUserDefaults standardUserDefaults] objectForKey:@"KPTestKey"] isEqual:@"text"]);
  standard.removeObject("KPTestKey");
  EXPECT_TRUE(standard.objectForKey("KPTestKey").isNil());
}

// -- Ports and limits -----------------------------------------------------------------------------

// A name that no other process has.
std::string ownName(std::string_view name) {
  return "org.kelpie.tests." + std::to_string(getpid()) + "." + std::string(name);
}

TEST(MacPorts, CarryMessagesToTheMainThread) {
  MacMessagePorts ports;
  std::vector<std::pair<std::int32_t, Bytes>> received;
  const auto local = ports.createLocal(
      ownName("port"), [&](std::int32_t id, const std::shared_ptr<const Bytes>& message,
                           const LocalMessagePort::Completion& done) {
        received.emplace_back(id, *message);
        done();
        if (id == 1) throw std::invalid_argument("a test");
      });
  ASSERT_NE(local, nullptr);
  const auto remote = ports.createRemote(ownName("port"));
  ASSERT_NE(remote, nullptr);
  constexpr std::chrono::milliseconds kSecond{1000};
  for (const std::int32_t id : {1, -2})
    EXPECT_EQ(remote->send(id, Bytes{7}, kSecond, kSecond), RemoteMessagePort::kSuccess);
  EXPECT_TRUE(received.empty()) << "never while sending";
  ASSERT_TRUE(runUntil([&] { return received.size() == 2; }));
  EXPECT_EQ(received[1], std::pair(-2, Bytes{7}));
}

TEST(MacPorts, AreFoundByNameWhileTheyAreOpen) {
  MacMessagePorts ports;
  const auto ignore = [](std::int32_t, const std::shared_ptr<const Bytes>&,
                         const LocalMessagePort::Completion&) {};
  EXPECT_EQ(ports.createRemote(ownName("port")), nullptr);
  auto local = ports.createLocal(ownName("port"), ignore);
  ASSERT_NE(local, nullptr);
  // The system hands out the first port once more: it must stay whole.
  EXPECT_EQ(ports.createLocal(ownName("port"), ignore), nullptr) << "the name is taken";
  ASSERT_NE(ports.createRemote(ownName("port")), nullptr);
  const auto remote = ports.createRemote(ownName("port"));
  ASSERT_NE(remote, nullptr);
  local.reset();
  EXPECT_NE(remote->send(1, {}, {}, {}), RemoteMessagePort::kSuccess);
  EXPECT_EQ(ports.createLocal("\xFF", ignore), nullptr);
  EXPECT_EQ(ports.createRemote("\xFF"), nullptr);
}

// The system holds a few messages; then a send has to wait, and must not for longer than it may.
TEST(MacPorts, ASendThatNobodyTakesEndsInItsTime) {
  MacMessagePorts ports;
  const auto local =
      ports.createLocal(ownName("full"), [](std::int32_t, const std::shared_ptr<const Bytes>&,
                                            const LocalMessagePort::Completion&) {});
  const auto remote = ports.createRemote(ownName("full"));
  ASSERT_NE(remote, nullptr);
  constexpr std::chrono::milliseconds kShort{10};
  std::int32_t status = RemoteMessagePort::kSuccess;
  for (int i = 0; i < 1000 && status == RemoteMessagePort::kSuccess; ++i)
    status = remote->send(1, {7}, kShort, kShort);
  EXPECT_EQ(status, RemoteMessagePort::kSendTimeout);
}

TEST(MacLimits, AreThoseOfTheProcess) {
  MacResourceLimits limits;
  const auto limit = limits.openFilesLimit();
  ASSERT_TRUE(limit);
  // More than this no limit of a Mac can be set to, though it may have been from the start.
  const OpenFilesLimit wanted{std::min<std::uint64_t>(limit->soft, 10240), limit->hard};
  EXPECT_TRUE(limits.setOpenFilesLimit(wanted));
  EXPECT_FALSE(limits.setOpenFilesLimit({limit->hard, limit->hard - 1})) << "soft above hard";
  EXPECT_EQ(limits.openFilesLimit(), wanted);
}

}  // namespace
}  // namespace kelpie
