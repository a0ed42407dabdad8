#include "agent/actions/ActionRunner.h"

#include <gtest/gtest.h>

#include <string_view>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

constexpr const char* kQueue = "org.kelpie.Kelpie.Actions";

class ActionRunnerTest : public ActionFixture {
 protected:
  // Begins to stage the file, and comes back at once.
  void begin(const std::string& path, std::string_view folder = "r") {
    runner->run(filesRequest("stage:", {sandbox.path(path)}), context(folder));
  }
};

TEST_F(ActionRunnerTest, ActionsOfOneWorkingCopyWaitForOneAnother) {
  sandbox.write("r/x", "");
  sandbox.write("r/y", "");
  begin("r/x");
  begin("r/y");
  EXPECT_EQ(status(), "?? x\n?? y") << "nothing runs on the main thread";
  const auto lanes = queues.withLabel(kQueue);
  ASSERT_EQ(lanes.size(), 1U);
  EXPECT_TRUE(lanes[0]->runOne());
  EXPECT_EQ(status(), "A  x\n?? y");
  queues.runAll();
  EXPECT_EQ(status(), "A  x\nA  y");
}

TEST_F(ActionRunnerTest, ActionsOfTwoWorkingCopiesDoNot) {
  sandbox.init("r2");
  sandbox.write("r2/x", "");
  begin("r/a");
  begin("r2/x", "r2");
  const auto lanes = queues.withLabel(kQueue);
  ASSERT_EQ(lanes.size(), 2U);
  EXPECT_TRUE(lanes[1]->runOne());
  EXPECT_EQ(status("r2"), "A  x");
  queues.runAll();
}

TEST_F(ActionRunnerTest, TooManyThatWaitAreTurnedAway) {
  for (int i = 0; i < 40; ++i) begin("r/a");
  ASSERT_EQ(notifier.shown.size(), 8U);
  EXPECT_NE(notifier.shown[0].text.find("Too many"), std::string::npos);
  queues.runAll();
  notifier.shown.clear();
  begin("r/a");
  EXPECT_TRUE(notifier.shown.empty());
  queues.runAll();
}

TEST_F(ActionRunnerTest, TooManyWindowsAreTurnedAway) {
  addProgram("gitk");
  // Carried out, but for the windows, which wait to be opened.
  const auto open = [&] {
    runner->run(request("showBrowser:"), context());
    queues.withLabel(kQueue).back()->runAll();
    queues.main().runAll();
  };
  for (int i = 0; i < 64; ++i) open();
  EXPECT_TRUE(notifier.shown.empty());
  open();
  EXPECT_EQ(notifier.shown.size(), 1U);
  queues.runAll();
  open();
  EXPECT_EQ(notifier.shown.size(), 1U) << "closed windows do not count";
  queues.runAll();
}

TEST_F(ActionRunnerTest, AnActionForNoWorkingCopyIsRefused) {
  runner->run(request("fetch:", "origin", -1), ActionContext());
  EXPECT_EQ(queues.pending(), 0U);
  EXPECT_EQ(log.lines().size(), 1U);
  ASSERT_EQ(notifier.shown.size(), 1U);
  EXPECT_EQ(notifier.shown[0].title, "Fetch failed");
}

TEST_F(ActionRunnerTest, AnActionThatWaitsIsCalledOffBeforeItsTurn) {
  sandbox.write("r/x", "");
  sandbox.write("r/y", "");
  begin("r/x");
  begin("r/y");
  ASSERT_EQ(runner->actions().size(), 2U);
  const std::uint64_t second = runner->actions()[1].id;
  EXPECT_EQ(runner->actions()[1].state, ActionInfo::State::Waiting);
  EXPECT_TRUE(runner->cancel(second));
  EXPECT_EQ(runner->actions().size(), 1U);
  EXPECT_FALSE(runner->cancel(second));
  queues.runAll();
  EXPECT_EQ(status(), "A  x\n?? y");
  EXPECT_TRUE(notifier.shown.empty()) << "the user knows";
  EXPECT_TRUE(runner->actions().empty());
}

TEST_F(ActionRunnerTest, WhatIsDoneBeforeItIsCalledOffIsDone) {
  sandbox.write("r/x", "");
  begin("r/x");
  const auto lanes = queues.withLabel(kQueue);
  EXPECT_TRUE(lanes[0]->runOne());
  EXPECT_TRUE(runner->cancel(runner->actions()[0].id));
  queues.runAll();
  ASSERT_TRUE(last);
  expectDone(*last);
}

TEST_F(ActionRunnerTest, AnActionOutlivesTheRunner) {
  sandbox.write("r/x", "");
  sandbox.write("r/y", "");
  begin("r/x");
  begin("r/missing");
  runner.reset();
  queues.runAll();
  EXPECT_EQ(status(), "A  x\n?? y");
  EXPECT_TRUE(notifier.shown.empty());
  EXPECT_FALSE(last);
}

TEST_F(ActionRunnerTest, AWorkingCopyThatIsGoneIsSaidSo) {
  const ActionContext before = context();
  sandbox.remove("r");
  for (const char* action : {"fetch:", "merge:", "discardAll:", "createBranch:", "applyPatch:"}) {
    answer({sandbox.path("a file")});
    EXPECT_EQ(run(request(action, "main", 1), before).end, ActionOutcome::End::Failed) << action;
  }
  EXPECT_EQ(notifier.shown.size(), 5U);
}

TEST_F(ActionRunnerTest, EveryActionEndsWithoutReferencesStatusAndDialogs) {
  removeDialogs();
  ActionContext bare = context();
  bare.references = nullptr;
  bare.status = nullptr;
  for (const char* action : {"addRemote:",
                             "addSubmodule:",
                             "applyPatch:",
                             "applyStash:",
                             "blameItems:",
                             "checkout:",
                             "createPullRequest:",
                             "deleteRemoteBranches:",
                             "deleteSubmodules:",
                             "diff:",
                             "fastForward:",
                             "fetch:",
                             "finishGitflowHotfix:",
                             "lfsPush:",
                             "prune:",
                             "pull:",
                             "push:",
                             "rebase:",
                             "renameBranch:",
                             "reset:",
                             "resolve:",
                             "restore:",
                             "revertItems:",
                             "showBrowser:",
                             "showRemoteSettings:",
                             "startGitflowRelease:",
                             "unstage:"})
    EXPECT_EQ(run(request(action, "main", 0), bare).end, ActionOutcome::End::Failed) << action;
  EXPECT_EQ(status(), "");
}

}  // namespace
}  // namespace kelpie::agent
