#include "linux/base/SessionBus.h"

#include <glib-unix.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <utility>

#include "linux/base/BusName.h"
#include "linux/base/MainLoop.h"
#include "support/EnvironmentVariable.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/LongEnough.h"
#include "support/linux/FailingCalls.h"
#include "support/linux/OwnProcess.h"
#include "support/linux/PrivateBus.h"
#include "support/linux/TestSocket.h"

namespace kelpie {
namespace {

constexpr const char* kTestName = "org.kelpie.Test";

class SessionBusTest : public testing::Test {
 protected:
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }
  std::unique_ptr<SessionBus> connect() const {
    auto attempt = SessionBus::connectTo(daemon.address());
    EXPECT_TRUE(attempt.bus) << attempt.problem;
    return std::move(attempt.bus);
  }
  // The connection that owns the name, or "".
  std::string owner(const SessionBus& bus) const {
    const GVariantPtr answer = bus.callBus("GetNameOwner", kTestName, "(s)", kLongEnough);
    if (!answer) return "";
    const gchar* name = nullptr;
    g_variant_get(answer.get(), "(&s)", &name);
    return name;
  }
  static std::string uniqueName(const SessionBus& bus) {
    return g_dbus_connection_get_unique_name(bus.connection());
  }

  PrivateBus daemon;
  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
};

TEST_F(SessionBusTest, ConnectsToTheBusOfTheEnvironment) {
  const EnvironmentVariable address("DBUS_SESSION_BUS_ADDRESS", daemon.address().c_str());
  const auto attempt = SessionBus::connect();
  ASSERT_TRUE(attempt.bus) << attempt.problem;
  EXPECT_EQ(attempt.problem, "");
  EXPECT_NE(uniqueName(*attempt.bus), "");
}

TEST_F(SessionBusTest, ConnectsToTheBusOfTheRuntimeDirectory) {
  const std::string path = daemon.address().substr(std::string("unix:path=").size());
  const std::string folder = path.substr(0, path.rfind('/'));
  const EnvironmentVariable address("DBUS_SESSION_BUS_ADDRESS", nullptr);
  const EnvironmentVariable runtime("XDG_RUNTIME_DIR", folder.c_str());
  const auto attempt = SessionBus::connect();
  EXPECT_TRUE(attempt.bus) << attempt.problem;
}

TEST_F(SessionBusTest, SaysWhyThereIsNoConnection) {
  const TemporaryFolder empty;
  const EnvironmentVariable runtime("XDG_RUNTIME_DIR", empty.path().c_str());
  const EnvironmentVariable none("DBUS_SESSION_BUS_ADDRESS", nullptr);
  auto attempt = SessionBus::connect();
  EXPECT_FALSE(attempt.bus);
  EXPECT_EQ(attempt.problem, "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set");
  for (const std::string address : {"unix:path=/does/not/exist", "nonsense", ";;"}) {
    attempt = SessionBus::connectTo(address);
    EXPECT_FALSE(attempt.bus);
    EXPECT_TRUE(attempt.problem.starts_with("cannot connect to the session bus: "))
        << attempt.problem;
  }
}

TEST_F(SessionBusTest, ABusThatDoesNotAnswerIsGivenUp) {
  const TemporaryFolder folder;
  const TestSocket silent = TestSocket::listen(folder / "bus");
  const auto attempt = SessionBus::connectTo("unix:path=" + (folder / "bus"));
  EXPECT_FALSE(attempt.bus);
  EXPECT_EQ(attempt.problem, "cannot connect to the session bus: it does not answer");
}

TEST_F(SessionBusTest, ABusThatTurnsTheFirstAttemptAwayIsTriedOnceMore) {
  const TemporaryFolder folder;
  const std::string path = folder / "bus";
  const EnvironmentVariable address("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str());
  const TestSocket busy = TestSocket::listen(path);
  std::thread bus([&] {
    TestSocket first = busy.accept();
    std::filesystem::rename(daemon.address().substr(std::string("unix:path=").size()), path);
    first.close();
  });
  const auto attempt = SessionBus::connect();
  bus.join();
  EXPECT_TRUE(attempt.bus) << attempt.problem;
}

TEST(SessionBusProcess, DISABLED_HasNoThreadToConnectOn) {
  if (!isStartedAsProcess()) GTEST_SKIP();
  // Has GLib make the thread without which it ends the process.
  const GSourcePtr signal(g_unix_signal_source_new(SIGUSR1));
  SessionBus::Attempt attempt;
  withFailingCalls({SYS_clone, SYS_clone3}, EAGAIN, [&] { attempt = SessionBus::connect(); });
  EXPECT_EQ(attempt.problem, "cannot connect to the session bus: it does not answer");
}

TEST_F(SessionBusTest, WithoutAThreadToConnectOnNobodyWaitsForEver) {
  const auto process = startDisabledTest("SessionBusProcess.DISABLED_HasNoThreadToConnectOn",
                                         {{"DBUS_SESSION_BUS_ADDRESS", daemon.address()}});
  EXPECT_EQ(process->waitForEnd(), 0) << process->output() << process->errors();
}

TEST_F(SessionBusTest, TheEndOfTheBusIsToldOnceAndTheProcessLivesOn) {
  const auto bus = connect();
  int told = 0;
  bus->setClosedHandler([&] { ++told; });
  daemon.end();
  EXPECT_TRUE(runUntil([&] { return told > 0; }));
  EXPECT_EQ(bus->callBus("GetNameOwner", kTestName, "(s)", kLongEnough), nullptr);
  EXPECT_EQ(told, 1);
}

TEST_F(SessionBusTest, ALostConnectionIsToldFromTheEndOfTheBus) {
  const EnvironmentVariable address("DBUS_SESSION_BUS_ADDRESS", daemon.address().c_str());
  EXPECT_EQ(SessionBus::loss().status, EXIT_FAILURE);
  EXPECT_STREQ(SessionBus::loss().reason, "the connection to the session bus was lost");
  daemon.end();
  EXPECT_EQ(SessionBus::loss().status, EXIT_SUCCESS);
  EXPECT_STREQ(SessionBus::loss().reason, "the session bus has ended");
}

TEST_F(SessionBusTest, ACallThatIsNotAnsweredEnds) {
  const auto bus = connect();
  daemon.process().signal(SIGSTOP);
  EXPECT_EQ(bus->callBus("GetNameOwner", kTestName, "(s)", std::chrono::milliseconds(1)), nullptr);
  daemon.process().signal(SIGCONT);
  EXPECT_NE(bus->callBus("NameHasOwner", kTestName, "(b)", kLongEnough), nullptr)
      << "the next one is answered";
}

TEST_F(SessionBusTest, AnAnswerOfAnotherTypeIsNone) {
  const auto bus = connect();
  EXPECT_NE(bus->callBus("NameHasOwner", kTestName, "(b)", kLongEnough), nullptr);
  EXPECT_EQ(bus->callBus("NameHasOwner", kTestName, "(s)", kLongEnough), nullptr);
}

TEST_F(SessionBusTest, AFreeNameIsOwnedUntilItIsLetGo) {
  const auto bus = connect();
  const auto observer = connect();
  bool acquired = false;
  auto name =
      std::make_unique<BusName>(*bus, kTestName, BusName::Handlers{[&] { acquired = true; }, {}});
  EXPECT_TRUE(runUntil([&] { return acquired; }));
  EXPECT_EQ(owner(*observer), uniqueName(*bus));
  name.reset();
  EXPECT_EQ(owner(*observer), "");
}

TEST_F(SessionBusTest, ATakenNameIsWaitedForAndNobodyReplaced) {
  const auto first = connect();
  const auto second = connect();
  int acquired = 0;
  int lost = 0;
  auto name =
      std::make_unique<BusName>(*first, kTestName, BusName::Handlers{[&] { ++acquired; }, {}});
  ASSERT_TRUE(runUntil([&] { return acquired == 1; }));
  const BusName waiting(*second, kTestName, {[&] { ++acquired; }, [&] { ++lost; }});
  EXPECT_TRUE(runUntil([&] { return lost == 1; }));
  EXPECT_EQ(owner(*second), uniqueName(*first));
  name.reset();
  EXPECT_TRUE(runUntil([&] { return acquired == 2; }));
  EXPECT_EQ(owner(*first), uniqueName(*second));
}

TEST_F(SessionBusTest, TheEndOfTheBusIsNoLossOfAName) {
  const auto bus = connect();
  int lost = 0;
  bool closed = false;
  bus->setClosedHandler([&] { closed = true; });
  daemon.process().signal(SIGSTOP);  // so that the name is never answered for
  const BusName name(*bus, kTestName, {{}, [&] { ++lost; }});
  daemon.process().signal(SIGKILL);
  EXPECT_TRUE(runUntil([&] { return closed; }));
  bool settled = false;
  loop.queue()->post([&] { loop.queue()->post([&] { settled = true; }); });
  EXPECT_TRUE(runUntil([&] { return settled; }));
  EXPECT_EQ(lost, 0);
}

}  // namespace
}  // namespace kelpie
