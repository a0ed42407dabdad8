#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"
#include "settings/SettingsKeys.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// What the programs do when one of them, or what they stand on, fails.
class ProgramFaults : public ProgramsFixture {
 protected:
  void start() { startWith(repository, file, "KPCurrentBadge"); }
  // The whole way works: from a change on disk to the badge.
  void expectService() {
    session.append("r/file.txt", "changed");
    EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge"));
  }

  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
};

// -- Processes that are killed or stand still -----------------------------------------------------

TEST_F(ProgramFaults, AKilledExtensionIsReplaced) {
  start();
  sync->signal(SIGKILL);
  EXPECT_EQ(sync->waitForEnd(), 128 + SIGKILL);
  startSync();
  host().show(repository);
  EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
  EXPECT_FALSE(host().waitForItem({file}, {"Checkout"}).is_null());
  expectService();
  EXPECT_TRUE(agent->isRunning());
}

TEST_F(ProgramFaults, WithAnAgentThatStandsStillFileManagersDoNotWait) {
  start();
  agent->signal(SIGSTOP);
  session.append("r/file.txt", "changed");
  EXPECT_TRUE(host().menu(0, {fileURL(file)}).is_object());
  host().hide(repository);
  host().show(repository);
  EXPECT_TRUE(host().menu(1, {fileURL(repository)}).is_object());
  agent->signal(SIGCONT);
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge"));
}

// 10,000 files; the agent is killed while git reads their state.
TEST_F(ProgramFaults, AnAgentKilledInTheMiddleOfAStatusIsReplaced) {
  const TemporaryFolder large(fs::exists("/dev/shm") ? "/dev/shm" : "/tmp");
  constexpr int kFiles = 10'000;
  for (int i = 0; i < kFiles; ++i)
    large.addFile("many" + std::to_string(i / 100) + "/file" + std::to_string(i), "1");
  session.git(large.path(), {"init", "-q"});
  session.git(large.path(), {"add", "-A"});
  session.git(large.path(), {"commit", "-q", "-m", "Many"});
  const std::string changed = large.addFile("many7/file701", "changed");
  // It says when git begins to read, and holds the first reading until it is interrupted.
  session.addProgram("git",
                     "case \" $* \" in *' status '*) [ -e \"$HOME/reading\" ] || "
                     "{ : >\"$HOME/reading\"; exec sleep 60; };; esac\n"
                     "PATH=${PATH#*:} exec git \"$@\"\n");
  ProgramsFixture::start({large.path()});
  host().show(large.path());
  ASSERT_TRUE(session.waitUntil([&] { return fs::exists(session.home() / "reading"); }));
  agent->signal(SIGKILL);
  EXPECT_EQ(agent->waitForEnd(), 128 + SIGKILL);
  // The extension takes notice.
  EXPECT_TRUE(becomes<bool>([&] { return host().menu(0, {fileURL(changed)}).is_null(); }, true));
  agent = session.startAgent();
  EXPECT_TRUE(host().sees(large / "many7", "KPWorkdirModifiedBadge"));
  EXPECT_TRUE(host().sees(large / "many8", "KPCurrentBadge"));
  host().ask({changed});
  EXPECT_TRUE(host().sees(changed, "KPWorkdirModifiedBadge"));
  EXPECT_EQ(sync->errors(), "");
}

// -- The session bus ------------------------------------------------------------------------------

TEST_F(ProgramFaults, WithoutABusTheExtensionServesAndTheAgentSaysWhyItEnds) {
  session.removeBusFromEnvironment();
  startSync();
  agent = session.start("kelpie-agent");
  EXPECT_EQ(agent->waitForEnd(), 1);
  EXPECT_EQ(agent->errors(),
            "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set; without it nobody can "
            "find the main application\n");
  EXPECT_EQ(host().menu(3, {}).at("items").at(0).at("title"), "Kelpie is not running");
}

TEST_F(ProgramFaults, AfterTheBusEveryProgramEndsAndOnANewOneTheyServeAgain) {
  start();
  session.restartBus();
  EXPECT_EQ(sync->waitForEnd(), 0);
  EXPECT_EQ(sync->errors(), "the session bus has ended\n");
  EXPECT_EQ(agent->waitForEnd(), 0);
  // Perhaps it has seen the end of the extension first.
  EXPECT_TRUE(agent->errors().ends_with("the session bus has ended\n")) << agent->errors();
  EXPECT_EQ(session.sockets(), std::vector<std::string>());
  start();
  expectService();
}

// -- The runtime directory ------------------------------------------------------------------------

class RuntimeFaults : public ProgramFaults, public testing::WithParamInterface<const char*> {
 protected:
  // The program ends with status 1 after this line about the runtime directory.
  void expectRefusal(const std::string& problem) {
    const auto program = session.start(GetParam());
    EXPECT_EQ(program->waitForEnd(), 1);
    EXPECT_EQ(program->errors(), session.runtime().path() + problem + "\n");
  }
};

TEST_P(RuntimeFaults, AFileInItsPlaceIsSaidInOneLine) {
  std::ofstream(session.runtime().path()) << "no folder";
  expectRefusal(" is not a directory");
}

TEST_P(RuntimeFaults, AFolderOfAnotherUserIsSaidInOneLine) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  fs::create_directory(session.runtime().path());
  ASSERT_EQ(::chmod(session.runtime().path().c_str(), S_IRWXU), 0);
  ASSERT_EQ(::chown(session.runtime().path().c_str(), 1, 1), 0);
  expectRefusal(" belongs to another user");
}

INSTANTIATE_TEST_SUITE_P(Programs, RuntimeFaults, testing::Values("kelpie-sync", "kelpie-agent"));

// -- A full disk ----------------------------------------------------------------------------------

class FullDisk : public ProgramFaults {
 protected:
  // Starts one of the programs where no file can grow, until there is room again: writing to one
  // fails, as on a full disk.
  std::unique_ptr<ChildProcess> startOnFullDisk(const std::string& name,
                                                std::vector<std::string> arguments = {}) const {
    std::vector<std::string> command = {"env", "--ignore-signal=XFSZ", "prlimit",
                                        "--fsize=0:", ProcessHost::program(name)};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return std::make_unique<ChildProcess>(command, session.environment());
  }
  static void makeRoomFor(const ChildProcess& program) {
    const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    EXPECT_EQ(::prlimit(program.pid(), RLIMIT_FSIZE, &unlimited, nullptr), 0);
  }
  std::string settingsFile() const { return session.sharedDefaults().path(); }
  // There is the file, and nothing that was meant to take its place.
  void expectNothingElse() const {
    for (const auto& entry : fs::directory_iterator(session.home() / ".config/kelpie"))
      EXPECT_EQ(entry.path().string(), settingsFile());
  }
};

TEST_F(FullDisk, AFolderIsNotAddedAndThoseBeforeStay) {
  session.observe({repository});
  const std::string other = session.addRepository("other");
  const auto kelpie = startOnFullDisk("kelpie", {"folders", "add", other});
  EXPECT_EQ(kelpie->waitForEnd(), 1);
  EXPECT_EQ(kelpie->errors(), "kelpie: cannot write " + settingsFile() + ": File too large\n");
  EXPECT_EQ(session.sharedDefaults().read().values[kFoldersPathsKey].size(), 1U);
  expectNothingElse();
  start();
  expectService();
}

TEST_F(FullDisk, TheAgentSaysThatItCannotWriteItsVersionAndServesAsSoonAsThereIsRoom) {
  session.observe({repository});
  agent = startOnFullDisk("kelpie-agent");
  EXPECT_TRUE(GitSession::hasLogged(
      *agent, "settings: cannot write " + settingsFile() + ": File too large\n"));
  startSync();
  EXPECT_EQ(host().menu(3, {}).at("items").at(0).at("title"), "Kelpie is not running")
      << "an application without a version is none";
  expectNothingElse();
  makeRoomFor(*agent);
  host().show(repository);
  EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
  EXPECT_EQ(agent->errors().find("cannot write"), agent->errors().rfind("cannot write"));
}

}  // namespace
}  // namespace kelpie
