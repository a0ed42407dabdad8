#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "Configuration.h"
#include "e2e/ProcessHost.h"
#include "e2e/TestExtension.h"
#include "e2e/TestRepository.h"
#include "platform/linux/Bookmark.h"
#include "protocol/MessageKeys.h"
#include "settings/SettingsKeys.h"
#include "support/Script.h"
#include "support/linux/TestSocket.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

class AgentProgram : public testing::Test {
 protected:
  std::string portPath() const {
    return session.runtime().portsFolder() + "/" + std::string(kApplicationGroup).append(".App");
  }
  // The agent, once it serves.
  std::unique_ptr<ChildProcess> startAgent() {
    auto agent = session.start("kelpie-agent");
    EXPECT_TRUE(session.waitForSocket(portPath())) << agent->errors();
    return agent;
  }
  // Has the agent use a script as its git.
  void useGit(const std::string& script) const {
    const std::string program = session.home() / "bin/git";
    putScript(program, script);
    session.home().addFile(".config/kelpie/agent.conf", "[Git]\nProgram=" + program + "\n");
  }
  std::string homeFile(const std::string& name) const {
    std::ifstream file(session.home() / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  ProcessHost session;
};

// -- The command line ----------------------------------------------------------------------------

TEST_F(AgentProgram, PrintsItsVersionAndNothingElse) {
  const auto agent = session.start("kelpie-agent", {"--version"});
  EXPECT_EQ(agent->waitForEnd(), 0);
  EXPECT_EQ(agent->output(), std::string(kVersion) + "\n");
  EXPECT_EQ(agent->errors(), "");
  EXPECT_FALSE(fs::exists(session.runtime().path()));
}

TEST_F(AgentProgram, HelpSaysHowToUseItAndWhichGitItNeeds) {
  const auto agent = session.start("kelpie-agent", {"--help"});
  EXPECT_EQ(agent->waitForEnd(), 0);
  EXPECT_TRUE(
      agent->output().starts_with("Usage: kelpie-agent [--version | --help | --undo FOLDER]\n"));
  EXPECT_NE(agent->output().find("git 2.26 or newer"), std::string::npos);
}

TEST_F(AgentProgram, AnArgumentThatItDoesNotKnowIsRefused) {
  const auto agent = session.start("kelpie-agent", {"--serve"});
  EXPECT_EQ(agent->waitForEnd(), 2);
  EXPECT_EQ(agent->errors(), "kelpie-agent: unknown argument --serve; try --help\n");
}

// -- What it needs -------------------------------------------------------------------------------

TEST_F(AgentProgram, WithoutABusItSaysSoInOneLineAndEnds) {
  session.removeBusFromEnvironment();
  const auto agent = session.start("kelpie-agent");
  EXPECT_EQ(agent->waitForEnd(), 1);
  EXPECT_EQ(agent->errors(),
            "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set; without it nobody can "
            "find the main application\n");
}

TEST_F(AgentProgram, ARuntimeDirectoryThatOthersCanReachIsRefused) {
  fs::create_directory(session.runtime().path());
  fs::permissions(session.runtime().path(), fs::perms(0755));
  const auto agent = session.start("kelpie-agent");
  EXPECT_EQ(agent->waitForEnd(), 1);
  EXPECT_EQ(agent->errors(), session.runtime().path() + " is open to other users\n");
}

TEST_F(AgentProgram, SettingsThatCannotBeWrittenAreSaidAndItServes) {
  session.home().addFile(".config/kelpie", "a file where the folder should be");
  const auto agent = startAgent();
  EXPECT_TRUE(agent->waitForErrors("settings: "));
  TestExtension extension(session);
  const TestRepository repository(session, "r");
  EXPECT_TRUE(extension.open(repository.path(), true));
  EXPECT_FALSE(extension.waitFor("setStatusInfo:").isNil());
}

TEST_F(AgentProgram, AConfigurationThatCannotBeReadIsSaidOnce) {
  session.home().addFile(".config/kelpie/agent.conf", "what is this\n");
  const auto agent = startAgent();
  const std::string file = session.home() / ".config/kelpie/agent.conf";
  ASSERT_TRUE(agent->waitForErrors(file));
  EXPECT_EQ(agent->errors().find(file), agent->errors().rfind(file));
}

TEST_F(AgentProgram, AMissingGitIsSaidAndItWaitsForOne) {
  session.home().addFile(".config/kelpie/agent.conf",
                         "[Git]\nProgram=" + (session.home() / "bin/git") + "\n");
  const auto agent = startAgent();
  EXPECT_TRUE(agent->waitForErrors("Git 2.26 or newer is needed."));
  TestExtension extension(session);
  const TestRepository repository(session, "r");
  useGit("exec git \"$@\"\n");
  EXPECT_TRUE(extension.open(repository.path(), true));
  EXPECT_FALSE(extension.waitFor("setStatusInfo:").isNil());
}

// -- Its start -----------------------------------------------------------------------------------

TEST_F(AgentProgram, AnnouncesItselfOnceItsVersionIsWrittenAndItsPortOpen) {
  TestExtension extension(session);
  const auto agent = startAgent();
  ASSERT_TRUE(extension.waitForAnnouncement(1));
  EXPECT_TRUE(extension.couldConnectWhenAnnounced());
  EXPECT_EQ(extension.settingsWhenAnnounced()[kApplicationVersionKey].stringValue(), kVersion);
  const Object folders = extension.settingsWhenAnnounced()[kFoldersPathsKey];
  ASSERT_EQ(folders.size(), 1U);
  EXPECT_EQ(Bookmark::resolve(folders.at(0).data().value()).url.value().path(),
            session.home().path());
}

TEST_F(AgentProgram, AnswersAnExtensionWithStatusAndReferences) {
  const TestRepository repository(session, "r");
  repository.write("new", "1\n");
  const auto agent = startAgent();
  TestExtension extension(session);
  EXPECT_TRUE(extension.send("pingPortName:", "nobody"));
  EXPECT_TRUE(extension.open(repository.path(), false));
  const Object urls = extension.waitFor("openRepositoryWithUrls:")[kMessageArgumentKey];
  EXPECT_EQ(urls.at(0).url().value().path(), repository.path());
  EXPECT_EQ(
      extension.waitFor("setStatusInfo:")[kMessageArgumentKey]["KPStatusNewCount"].integerValue(),
      1);
  EXPECT_FALSE(extension.waitFor("setHeadBranch:")[kMessageArgumentKey].isNil());
  EXPECT_NE(agent->errors().find("names no port of an extension"), std::string::npos);
}

// -- Several copies ------------------------------------------------------------------------------

TEST_F(AgentProgram, ASecondCopyWaitsAndTakesOver) {
  TestExtension extension(session);
  const auto first = startAgent();
  ASSERT_TRUE(extension.waitForAnnouncement(1));
  const auto second = session.start("kelpie-agent");
  ASSERT_TRUE(second->waitForErrors("another kelpie-agent runs; waiting until it ends\n"));
  EXPECT_EQ(extension.announcements(), 1);
  first->signal(SIGKILL);
  EXPECT_EQ(first->waitForEnd(), 128 + SIGKILL);
  ASSERT_TRUE(extension.waitForAnnouncement(2));
  const TestRepository repository(session, "r");
  EXPECT_TRUE(extension.open(repository.path(), true));
  EXPECT_FALSE(extension.waitFor("setStatusInfo:").isNil());
  EXPECT_TRUE(second->isRunning());
}

TEST_F(AgentProgram, AThirdCopyComesAfterTheSecond) {
  TestExtension extension(session);
  auto first = startAgent();
  const auto second = session.start("kelpie-agent");
  ASSERT_TRUE(second->waitForErrors("waiting"));
  const auto third = session.start("kelpie-agent");
  ASSERT_TRUE(third->waitForErrors("waiting"));
  first->signal(SIGTERM);
  ASSERT_TRUE(extension.waitForAnnouncement(2));
  second->signal(SIGTERM);
  ASSERT_TRUE(extension.waitForAnnouncement(3));
  EXPECT_EQ(second->waitForEnd(), 0);
  EXPECT_TRUE(third->isRunning());
  EXPECT_TRUE(session.waitForSocket(portPath()));
}

TEST_F(AgentProgram, WhenACopyThatWaitedHasEndedTheFirstAnnouncesItselfAgain) {
  TestExtension extension(session);
  const auto first = startAgent();
  ASSERT_TRUE(extension.waitForAnnouncement(1));
  const auto second = session.start("kelpie-agent");
  ASSERT_TRUE(second->waitForErrors("waiting"));
  second->signal(SIGKILL);
  EXPECT_TRUE(extension.waitForAnnouncement(2));
}

TEST_F(AgentProgram, APortThatSomebodyElseHasEndsItWithStatus1) {
  ASSERT_EQ(session.runtime().prepare(), std::nullopt);
  LinuxMessagePorts ports(session.loop(), session.runtime().portsFolder());
  const auto port = ports.createLocal(std::string(kApplicationGroup).append(".App"),
                                      [](std::int32_t, auto, const auto& done) { done(); });
  ASSERT_TRUE(port);
  const auto agent = session.start("kelpie-agent");
  EXPECT_EQ(agent->waitForEnd(), 1);
  EXPECT_EQ(agent->errors(), "cannot listen on " + portPath() + ": Address already in use\n");
}

// -- Its end -------------------------------------------------------------------------------------

class AgentProgramSignal : public AgentProgram, public testing::WithParamInterface<int> {};

TEST_P(AgentProgramSignal, EndsItWithStatus0AndWithoutSockets) {
  const auto agent = startAgent();
  agent->signal(GetParam());
  EXPECT_EQ(agent->waitForEnd(), 0);
  EXPECT_FALSE(fs::exists(portPath()));
}

INSTANTIATE_TEST_SUITE_P(Signals, AgentProgramSignal, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(AgentProgram, AGitThatReadsEndsWithIt) {
  useGit(
      "case \"$*\" in *' status '*) echo $$ > \"$HOME/pid\"; exec sleep 1000;; esac\n"
      "exec git \"$@\"\n");
  const TestRepository repository(session, "r");
  const auto agent = startAgent();
  TestExtension extension(session);
  ASSERT_TRUE(extension.open(repository.path(), true));
  ASSERT_TRUE(session.waitUntil([&] { return homeFile("pid").ends_with('\n'); }));
  const pid_t git = std::stoi(homeFile("pid"));
  EXPECT_EQ(kill(git, 0), 0);
  agent->signal(SIGTERM);
  EXPECT_EQ(agent->waitForEnd(), 0);
  // Nobody here waits for it: it may stay a zombie for as long as the system likes.
  EXPECT_TRUE(session.waitUntil([&] {
    std::ifstream file("/proc/" + std::to_string(git) + "/stat");
    std::string number;
    std::string name;
    std::string state;
    return !(file >> number >> name >> state) || state == "Z" || name != "(sleep)";
  }));
}

TEST_F(AgentProgram, TheEndOfTheBusIsItsEnd) {
  const auto agent = startAgent();
  session.bus().end();
  EXPECT_EQ(agent->waitForEnd(), 0);
  EXPECT_NE(agent->errors().find("the session bus has ended\n"), std::string::npos);
  EXPECT_FALSE(fs::exists(portPath()));
}

TEST_F(AgentProgram, WhatAKilledOneLeftBehindIsReplaced) {
  {
    const auto killed = startAgent();
    killed->signal(SIGKILL);
    EXPECT_EQ(killed->waitForEnd(), 128 + SIGKILL);
    EXPECT_TRUE(fs::exists(portPath()));
  }
  startAgent();
}

}  // namespace
}  // namespace kelpie
