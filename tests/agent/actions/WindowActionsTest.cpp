#include <glib.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "agent/actions/ActionFixture.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

class WindowActionsTest : public ActionFixture {
 protected:
  // What the program of that name was started with: its folder, then its arguments, a line each.
  std::string calls(std::string_view program) const { return sandbox.read(program); }
  std::string inRoot(const std::string& arguments) const {
    return sandbox.path("r") + "\n" + arguments;
  }
  ActionOutcome runApplication(std::string_view action) {
    return run(request(action), ActionContext());
  }
};

TEST_F(WindowActionsTest, OpensThePrograms) {
  for (const char* program : {"git-gui", "git-citool", "gitk"}) addProgram(program);
  addRemote();
  expectDone(runFiles("commit:", {"a"}));
  EXPECT_EQ(calls("git-citool"), inRoot("\n"));
  expectDone(run(request("showSettings:")));
  expectDone(run(request("showRemoteSettings:", "origin", 0)));
  EXPECT_EQ(calls("git-gui"), inRoot("\n") + inRoot("\n"));
  expectDone(run(request("showBrowser:")));
  expectDone(runFiles("historyItems:", {"a", "sub/b"}));
  EXPECT_EQ(calls("gitk"), inRoot("--all\n") + inRoot("--\na\nsub/b\n"));
}

TEST_F(WindowActionsTest, BlameOpensAWindowForEachOfAFewFiles) {
  addProgram("git-gui");
  sandbox.write("r/-x", "");
  expectDone(runFiles("blameItems:", {"a", "-x"}));
  EXPECT_EQ(calls("git-gui"), inRoot("blame\n--\na\n") + inRoot("blame\n--\n-x\n"));
  expectFailed(runFiles("blameItems:", std::vector<std::string>(9, "a")), "windows");
}

TEST_F(WindowActionsTest, ShowsChangesInTheToolThatGitIsConfiguredFor) {
  addProgram("viewer", "diff -r \"$1\" \"$2\" >> \"$KELPIE_SANDBOX/seen\"; true");
  sandbox.git("r", {"config", "diff.guitool", "mine"});
  sandbox.git("r", {"config", "difftool.mine.cmd", "viewer $LOCAL $REMOTE"});
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/a", "two\n");
  sandbox.write("r/sub/b", "three\n");
  sandbox.git("r", {"add", "a"});
  expectDone(runFiles("externalDiff:", {"a"}));
  EXPECT_NE(sandbox.read("seen").find("> two"), std::string::npos);
  EXPECT_EQ(sandbox.read("seen").find("> three"), std::string::npos);
  expectDone(runFiles("diff:", {"a", "sub/b"}));
  EXPECT_NE(sandbox.read("seen").find("> three"), std::string::npos);
  sandbox.remove("seen");
  sandbox.commitAll("r", "second");
  expectDone(runOn("compareCommits:", "refs/tags/v1"));
  EXPECT_NE(sandbox.read("seen").find("> three"), std::string::npos);
  EXPECT_TRUE(notifier.shown.empty());
}

TEST_F(WindowActionsTest, TheUsersOwnProgramsComeFirst) {
  addProgram("mine");
  useTools("historyItems = mine \"in %r\" %f\nshowBrowser = mine 100%%\n");
  removeDialogs();
  expectDone(runFiles("historyItems:", {"a", "sub/b"}));
  expectDone(run(request("showBrowser:")));
  EXPECT_EQ(calls("mine"), inRoot("in " + sandbox.path("r") + "\n" + sandbox.path("r/a") + "\n" +
                                  sandbox.path("r/sub/b") + "\n") +
                               inRoot("100%\n"));
}

TEST_F(WindowActionsTest, AMissingProgramIsSaidSo) {
  useTools("showBrowser = no-such-program-here\n");
  expectFailed(run(request("showBrowser:")), "not installed");
  ASSERT_EQ(notifier.shown.size(), 1U);
  EXPECT_EQ(notifier.shown[0].title, "Browser failed");
  EXPECT_NE(notifier.shown[0].text.find("no-such-program-here"), std::string::npos);
}

// A system with git and a terminal and nothing else.
class StockSystemTest : public WindowActionsTest {
 protected:
  void SetUp() override {
    WindowActionsTest::SetUp();
    for (const char* program : {"git", "sh", "env", "sed", "head", "cat", "less"}) {
      const GCharPtr path(g_find_program_in_path(program));
      if (path != nullptr)
        std::filesystem::create_symlink(path.get(), sandbox.path("bin/" + std::string(program)));
    }
    sandbox.setVariable("PATH", sandbox.path("bin"));
    sandbox.write("exec/none", "");
    sandbox.setVariable("GIT_EXEC_PATH", sandbox.path("exec"));
  }
  // It runs what it is told to, with what that prints going to the file "seen".
  void addTerminal() const {
    sandbox.writeScript("bin/xterm",
                        "shift; LESS=FX GIT_PAGER=cat GIT_EDITOR='echo \"typed\" >' \"$@\" "
                        "</dev/null >>\"$KELPIE_SANDBOX/seen\" 2>&1\n");
  }
};

TEST_F(StockSystemTest, CommitChangesAndBlameOpenInATerminal) {
  addTerminal();
  sandbox.write("r/a", "two\n");
  expectDone(runFiles("diff:", {"a"}));
  EXPECT_NE(sandbox.read("seen").find("+two"), std::string::npos) << sandbox.read("seen");
  expectDone(runFiles("blameItems:", {"a"}));
  EXPECT_NE(sandbox.read("seen").find("1) two"), std::string::npos) << sandbox.read("seen");
  sandbox.git("r", {"add", "a"});
  expectDone(run(request("commit:")));
  EXPECT_EQ(sandbox.git("r", {"log", "-1", "--format=%s"}), "typed") << sandbox.read("seen");
  EXPECT_TRUE(notifier.shown.empty());
}

TEST_F(StockSystemTest, WithoutATerminalThePackagesAreNamed) {
  expectFailed(run(request("commit:")), "the package git-gui brings it");
  expectFailed(run(request("commit:")), "xterm");
  expectFailed(run(request("showSettings:")), "the package git-gui brings it");
  expectFailed(run(request("showBrowser:")), "the package gitk brings it");
  expectFailed(runFiles("externalDiff:", {"a"}), "the package meld brings one");
  EXPECT_EQ(notifier.shown.size(), 5U);
}

TEST_F(StockSystemTest, TheUsersOwnTerminalComesFirst) {
  addTerminal();
  addProgram("mine");
  useTools("terminal = mine --run\n");
  expectDone(run(request("commit:")));
  EXPECT_NE(calls("mine").find("--run\nsh\n-c\n"), std::string::npos);
}

TEST_F(WindowActionsTest, WithoutADisplayNothingIsStarted) {
  addProgram("gitk");
  removeDialogs();
  expectFailed(run(request("showBrowser:")), "no display");
  EXPECT_FALSE(sandbox.exists("gitk"));
}

TEST_F(WindowActionsTest, ANewPullRequestOpensThePageOfItsRemote) {
  addProgram("xdg-open");
  addRemote();
  sandbox.git("r", {"update-ref", "refs/remotes/origin/pull/7/head", "main"});
  sandbox.git("r", {"config", "remote.origin.url", "me@example.org:team/thing.git"});
  expectDone(run(request("createPullRequest:", "#7 first", 0)));
  EXPECT_EQ(calls("xdg-open"), inRoot("https://example.org/team/thing\n"));
  sandbox.git("r", {"config", "remote.origin.url", "/folder"});
  expectFailed(run(request("createPullRequest:", "#7 first", 0)), "no page");
}

TEST_F(WindowActionsTest, TheApplicationsOwnWindows) {
  addProgram("xdg-open");
  answer({"yes"});
  expectDone(runApplication("showAboutPanel:"));
  EXPECT_NE(asked().find("--info"), std::string::npos);
  expectDone(runApplication("showConfiguration:"));
  expectDone(runApplication("showPreferences:"));
  EXPECT_EQ(calls("xdg-open"),
            "/\n" + sandbox.path(".gitconfig") + "\n/\n" + sandbox.path(".config/kelpie") + "\n");
  sandbox.setVariable("GIT_CONFIG_GLOBAL", sandbox.path("none"));
  expectFailed(runApplication("showConfiguration:"), "no git configuration");
}

TEST_F(WindowActionsTest, QuitTellsTheAgent) {
  runner->run(request("quit:"), ActionContext());
  queues.runAll();
  EXPECT_TRUE(hasQuit);
  EXPECT_FALSE(last);
}

}  // namespace
}  // namespace kelpie::agent
