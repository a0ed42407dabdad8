#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "Configuration.h"
#include "e2e/ProcessHost.h"
#include "e2e/TestHost.h"
#include "linux/base/SessionBus.h"
#include "linux/base/UnixSocket.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

class SyncProgram : public testing::Test {
 protected:
  // What is in the runtime directory, but for the lock, which stays.
  std::vector<std::string> sockets() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(host.runtime().path()))
      if (entry.is_socket()) names.push_back(entry.path().filename());
    return names;
  }
  // The value of a line of /proc/PID/status.
  static long statusNumber(pid_t pid, const std::string& task, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/task/" + task + "/status");
    std::string word;
    while (file >> word)
      if (word == name + ":") {
        long value = -1;
        file >> value;
        return value;
      }
    return -1;
  }

  ProcessHost host;
};

// -- The start -----------------------------------------------------------------------------------

// It would live, but show nothing.
TEST_F(SyncProgram, WithoutAPortOfItsOwnItSaysWhyAndEnds) {
  // Long enough for the port's address not to fit, and short enough for that of the host link.
  constexpr std::size_t kLength = 80;
  const std::string& home = host.home().path();
  const std::string name(kLength - home.size() - 1, 'x');
  host.setVariable("XDG_RUNTIME_DIR", host.home().addFolder(name));
  const auto sync = host.start("kelpie-sync");
  EXPECT_EQ(sync->waitForEnd(), 1);
  EXPECT_NE(sync->errors().find("File name too long\n"), std::string::npos) << sync->errors();
  EXPECT_TRUE(
      sync->errors().ends_with("the controller cannot be made: no application could reach it\n"))
      << sync->errors();
}

// -- The command line ----------------------------------------------------------------------------

TEST_F(SyncProgram, PrintsItsVersionAndNothingElse) {
  const auto sync = host.start("kelpie-sync", {"--version"});
  EXPECT_EQ(sync->waitForEnd(), 0);
  EXPECT_EQ(sync->output(), std::string(kVersion) + "\n");
  EXPECT_EQ(sync->errors(), "");
  EXPECT_FALSE(fs::exists(host.runtime().path()));
}

TEST_F(SyncProgram, HelpSaysHowToUseIt) {
  const auto sync = host.start("kelpie-sync", {"--help"});
  EXPECT_EQ(sync->waitForEnd(), 0);
  EXPECT_TRUE(sync->output().starts_with("Usage: kelpie-sync [--version | --help]\n"));
  EXPECT_EQ(sync->errors(), "");
}

TEST_F(SyncProgram, AnArgumentThatItDoesNotKnowIsRefused) {
  const auto sync = host.start("kelpie-sync", {"--serve"});
  EXPECT_EQ(sync->waitForEnd(), 2);
  EXPECT_EQ(sync->output(), "");
  EXPECT_EQ(sync->errors(), "kelpie-sync: unknown argument --serve; try --help\n");
}

// -- The runtime directory -----------------------------------------------------------------------

TEST_F(SyncProgram, MakesItsRuntimeDirectoryForItsUserAlone) {
  const auto sync = host.startSync();
  struct stat status = {};
  ASSERT_EQ(::lstat(host.runtime().path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  EXPECT_EQ(sync->errors(), "");
}

TEST_F(SyncProgram, ARuntimeDirectoryThatOthersCanReachIsRefused) {
  fs::create_directory(host.runtime().path());
  ASSERT_EQ(::chmod(host.runtime().path().c_str(), 0750), 0);
  const auto sync = host.start("kelpie-sync");
  EXPECT_EQ(sync->waitForEnd(), 1);
  EXPECT_EQ(sync->errors(), host.runtime().path() + " is open to other users\n");
}

TEST_F(SyncProgram, ARuntimeDirectoryThatCannotBeMadeIsSaidInOneLine) {
  host.setVariable("XDG_RUNTIME_DIR", host.home() / "missing");
  const auto sync = host.start("kelpie-sync");
  EXPECT_EQ(sync->waitForEnd(), 1);
  EXPECT_EQ(sync->errors(),
            "cannot make " + (host.home() / "missing/kelpie") + ": No such file or directory\n");
}

TEST_F(SyncProgram, APathTooLongForASocketIsSaidInOneLine) {
  const std::string deep = host.home().addFolder(std::string(120, 'x'));
  host.setVariable("XDG_RUNTIME_DIR", deep);
  const auto sync = host.start("kelpie-sync");
  EXPECT_EQ(sync->waitForEnd(), 1);
  EXPECT_NE(sync->errors().find("the host link cannot be opened"), std::string::npos)
      << sync->errors();
}

// -- One process per user ------------------------------------------------------------------------

TEST_F(SyncProgram, ASecondOneSaysSoAndEndsWithStatus0) {
  const auto first = host.startSync();
  const auto second = host.start("kelpie-sync");
  EXPECT_EQ(second->waitForEnd(), 0);
  EXPECT_EQ(second->errors(),
            "kelpie-sync runs already: " + host.runtime().lockFile() + " is locked\n");
  TestHost file(host);
  EXPECT_EQ(file.hello().at("type"), "welcome") << "the first one goes on";
}

// A process that is killed lets go of its lock a moment after its sockets.
TEST_F(SyncProgram, ANewOneWaitsForTheLockOfOneThatIsDying) {
  ASSERT_EQ(host.runtime().prepare(), std::nullopt);
  RuntimeDirectory::Lock held = host.runtime().lock();
  ASSERT_TRUE(held.file);
  UnixSocket::Result dying = UnixSocket::listen(host.runtime().finderSocket());
  ASSERT_TRUE(dying.socket);
  const auto sync = host.start("kelpie-sync");
  // It asks whether somebody is at home, and is not answered.
  UniqueFd asking;
  EXPECT_TRUE(host.waitUntil([&] {
    asking = UniqueFd(::accept(dying.socket.get(), nullptr, nullptr));
    return static_cast<bool>(asking);
  })) << sync->errors();
  held.file = UniqueFd();
  dying.socket = UniqueFd();
  asking = UniqueFd();
  EXPECT_TRUE(host.waitForSocket(host.runtime().finderSocket())) << sync->errors();
  TestHost file(host);
  EXPECT_EQ(file.hello().at("type"), "welcome");
}

TEST_F(SyncProgram, WhatAKilledOneLeftBehindIsReplaced) {
  {
    const auto killed = host.startSync();
    killed->signal(SIGKILL);
    EXPECT_EQ(killed->waitForEnd(), 128 + SIGKILL);
    EXPECT_EQ(sockets().size(), 2U) << "its host link and its port";
  }
  const auto sync = host.startSync();
  TestHost file(host);
  EXPECT_EQ(file.hello().at("type"), "welcome");
  std::vector<std::string> names = sockets();
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"finder", ProcessHost::portNameOf(*sync)}));
}

// -- Its end -------------------------------------------------------------------------------------

class SyncProgramSignal : public SyncProgram, public testing::WithParamInterface<int> {};

TEST_P(SyncProgramSignal, EndsItWithStatus0AndWithoutSockets) {
  const auto sync = host.startSync();
  TestHost file(host);
  file.hello();
  sync->signal(GetParam());
  EXPECT_EQ(sync->waitForEnd(), 0);
  EXPECT_EQ(sockets(), std::vector<std::string>());
  EXPECT_EQ(sync->errors(), "");
  EXPECT_TRUE(host.waitUntil([&] { return file.isClosed(); }));
}

INSTANTIATE_TEST_SUITE_P(Signals, SyncProgramSignal, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(SyncProgram, TheEndOfTheBusIsItsEnd) {
  const auto sync = host.startSync();
  host.bus().end();
  EXPECT_EQ(sync->waitForEnd(), 0);
  EXPECT_EQ(sync->errors(), "the session bus has ended\n");
  EXPECT_EQ(sockets(), std::vector<std::string>());
}

// -- The controller ------------------------------------------------------------------------------

TEST_F(SyncProgram, AControllerThatCannotBeMadeIsSaidInOneLine) {
  // A hard limit that is too low is inherited; prlimit sets it for the program alone.
  ChildProcess sync({"prlimit", "--nofile=512:512", ProcessHost::program("kelpie-sync")},
                    host.environment());
  EXPECT_EQ(sync.waitForEnd(), 1);
  EXPECT_EQ(sync.errors(),
            "the controller cannot be made: the limit on open files cannot be raised\n");
  EXPECT_EQ(sockets(), std::vector<std::string>());
}

TEST_F(SyncProgram, RaisesItsLimitOnOpenFiles) {
  const auto sync = host.startSync();
  rlimit limit = {};
  ASSERT_EQ(::prlimit(sync->pid(), RLIMIT_NOFILE, nullptr, &limit), 0);
  EXPECT_EQ(limit.rlim_cur, 10240U);
}

// -- The bus -------------------------------------------------------------------------------------

TEST_F(SyncProgram, WithoutABusItSaysSoInOneLineAndServes) {
  host.removeBusFromEnvironment();
  const auto sync = host.startSync();
  TestHost file(host);
  EXPECT_EQ(file.hello().at("type"), "welcome");
  EXPECT_EQ(file.menu(0, {fileURL(host.home().path())}), json()) << "there is no application";
  EXPECT_EQ(sync->errors(),
            "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set; going on without the "
            "main application\n");
}

TEST_F(SyncProgram, TakesItsNameOnceItListens) {
  const auto sync = host.start("kelpie-sync");
  const auto bus = SessionBus::connectTo(host.bus().address()).bus;
  ASSERT_TRUE(bus);
  const std::string name(kExtensionIdentifier);
  guint32 owner = 0;
  EXPECT_TRUE(host.waitUntil([&] {
    const GVariantPtr answer =
        bus->callBus("GetConnectionUnixProcessID", name, "(u)", ChildProcess::kLongEnough);
    if (answer) g_variant_get(answer.get(), "(u)", &owner);
    return answer != nullptr;
  }));
  EXPECT_EQ(static_cast<pid_t>(owner), sync->pid());
  EXPECT_TRUE(TestSocket::connect(host.runtime().finderSocket())) << "it listens already";
}

// -- What it costs -------------------------------------------------------------------------------

TEST_F(SyncProgram, IdleItDoesNotWakeUp) {
  if (kHasThreadSanitizer) GTEST_SKIP() << "the sanitizer's own thread wakes up";
  const auto sync = host.startSync();
  TestHost file(host);
  file.hello();
  // How often each of its threads has given up the processor: by going to sleep again.
  const auto sleeps = [&] {
    long sum = 0;
    for (const auto& task :
         fs::directory_iterator("/proc/" + std::to_string(sync->pid()) + "/task"))
      sum += statusNumber(sync->pid(), task.path().filename(), "voluntary_ctxt_switches");
    return sum;
  };
  // It may still be busy with its start. In a second of which none of its threads takes notice, a
  // program with any timer of its own would have been seen.
  long before = -1;
  int quietSeconds = 0;
  for (int second = 0; second < 10 && quietSeconds < 2; ++second) {
    const long now = sleeps();
    quietSeconds = now == before ? quietSeconds + 1 : 0;
    before = now;
    EXPECT_FALSE(sync->waitForEnd(std::chrono::seconds(1)));
  }
  EXPECT_EQ(quietSeconds, 2);
}

}  // namespace
}  // namespace kelpie
