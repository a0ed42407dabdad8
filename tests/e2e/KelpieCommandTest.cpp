#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Configuration.h"
#include "agent/git/Subprocess.h"
#include "e2e/ProcessHost.h"

namespace kelpie {
namespace {

using nlohmann::json;

// `kelpie` with the real extension and the real main application, on a real working copy.
class KelpieCommandTest : public ::testing::Test {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  KelpieCommandTest() {
    processes.setVariable("LC_ALL", "C.UTF-8");
    git({"init", "-q", "."});
    write("kept.txt", "1");
    write("src/main.c", "1");
    git({"add", "."});
    git({"commit", "-q", "-m", "one"});
    write("kept.txt", "2");
    // A folder of which nothing but a new file is known yet shows as new itself, so that its badge
    // would depend on what was asked first.
    write("src/main.c", "2");
    write("src/new.c", "1");
  }

  void git(std::vector<std::string> words) {
    words.insert(words.begin(), {"git", "-c", "user.name=a", "-c", "user.email=b"});
    agent::ProgramCall call;
    call.arguments = std::move(words);
    call.folder = work;
    call.environment = {{"HOME", processes.home().path()}, {"GIT_CONFIG_NOSYSTEM", "1"}};
    const auto result = agent::Subprocess::run(call);
    EXPECT_TRUE(result.succeeded()) << result.failure();
  }
  void write(const std::string& name, const std::string& text) {
    processes.home().addFile("work/" + name, text);
  }
  Result run(const std::vector<std::string>& words) {
    const auto process = processes.start("kelpie", words);
    const auto status = process->waitForEnd();
    return {status.value_or(-1), process->output(), process->errors()};
  }
  // The main application and the extension, with `work` among the observed folders.
  void startAll() {
    EXPECT_EQ(run({"folders", "add", work}).status, 0);
    application = processes.start("kelpie-agent");
    extension = processes.startSync();
    EXPECT_TRUE(processes.waitUntil([&] { return badgeOf("kept.txt") == "modified"; }))
        << run({"doctor"}).out;
  }
  // The label of the item's badge.
  std::string badgeOf(const std::string& name) {
    const json list = json::parse(run({"status", "--json", work + '/' + name}).out, nullptr, false);
    return list.is_array() && list.size() == 1 ? list[0].value("label", "") : "";
  }
  // The level of what the doctor found about the topic.
  std::string levelOf(const std::string& topic) {
    for (const json& finding : json::parse(run({"doctor", "--json"}).out))
      if (finding["topic"] == topic) return finding["level"];
    return "";
  }

  ProcessHost processes;
  std::string work = processes.home().addFolder("work");
  std::unique_ptr<ChildProcess> application;
  std::unique_ptr<ChildProcess> extension;
};

TEST_F(KelpieCommandTest, StatusShowsAWorkingCopyWithItsSubfolders) {
  startAll();
  const Result result = run({"status", work, work + "/src"});
  // The branch that a new repository has is the machine's own choice.
  const std::size_t head = result.out.find('\n') + 1;
  EXPECT_TRUE(result.out.starts_with("Branch ")) << result.out;
  EXPECT_EQ(result.out.substr(head), "± modified              " + work +
                                         "/\n"
                                         "    no badge              .git/\n"
                                         "  ± modified              kept.txt\n"
                                         "  ± modified              src/\n"
                                         "\n"
                                         "± modified              " +
                                         work +
                                         "/src/\n"
                                         "  ± modified              main.c\n"
                                         "  ? untracked             new.c\n");
  EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(KelpieCommandTest, AnItemOfTheMenuIsCarriedOut) {
  startAll();
  const Result menu = run({"menu", work + "/kept.txt"});
  EXPECT_NE(menu.out.find("  Stage \"kept.txt\"\n"), std::string::npos) << menu.out;
  const Result result = run({"do", "Stage", work + "/kept.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(processes.waitUntil([&] { return badgeOf("kept.txt") == "modified, staged"; }));
}

TEST_F(KelpieCommandTest, WatchPrintsWhatChanges) {
  startAll();
  const auto watch = processes.start("kelpie", {"watch", work});
  EXPECT_TRUE(watch->waitForOutput("± modified              " + work + "/kept.txt\n"));
  write("fresh.txt", "1");
  EXPECT_TRUE(watch->waitForOutput("? untracked             " + work + "/fresh.txt\n"));
  extension->signal(SIGTERM);
  EXPECT_TRUE(watch->waitForErrors("waiting until it is back\n"));
  EXPECT_EQ(extension->waitForEnd(), 0) << "another one would find its lock";
  extension = processes.startSync();
  EXPECT_TRUE(watch->waitForErrors("the extension is back\n"));
  write("later.txt", "1");
  EXPECT_TRUE(watch->waitForOutput("? untracked             " + work + "/later.txt\n"));
  watch->signal(SIGINT);
  EXPECT_EQ(watch->waitForEnd(), 0);
}

TEST_F(KelpieCommandTest, TheDoctorSeesWhatRuns) {
  EXPECT_EQ(levelOf("main application"), "problem");
  startAll();
  EXPECT_EQ(run({"doctor"}).status, 0) << run({"doctor"}).out;
  application->signal(SIGSTOP);
  EXPECT_TRUE(processes.waitUntil([&] { return levelOf("main application") == "problem"; }));
  EXPECT_EQ(run({"doctor"}).status, 1);
  application->signal(SIGCONT);
  EXPECT_TRUE(processes.waitUntil([&] { return levelOf("main application") == "good"; }));
}

TEST_F(KelpieCommandTest, AChangedSettingCountsAtOnce) {
  startAll();
  EXPECT_EQ(run({"settings", "set", "menu-items", "Stage"}).status, 0);
  EXPECT_EQ(run({"settings", "set", "menu-more-items", "none"}).status, 0);
  EXPECT_EQ(run({"menu", work + "/kept.txt"}).out,
            "1  Git Items\n"
            "2  Stage \"kept.txt\"\n");
  EXPECT_EQ(run({"folders", "remove", work}).status, 0);
  EXPECT_TRUE(processes.waitUntil([&] { return run({"status", work}).status == 1; }));
}

}  // namespace
}  // namespace kelpie
