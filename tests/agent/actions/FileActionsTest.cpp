#include "agent/actions/FileActions.h"

#include <gtest/gtest.h>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

using FileActionsTest = ActionFixture;

TEST_F(FileActionsTest, StageTakesNewChangedAndDeletedFiles) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/new", "");
  sandbox.remove("r/sub/b");
  expectDone(runFiles("stage:", {"a", "new", "sub/b"}));
  EXPECT_EQ(status(), "M  a\nA  new\nD  sub/b");
}

TEST_F(FileActionsTest, StageTakesNamesAsTheyAre) {
  for (const char* name : {"-f", "*", ":(top)x", "with\nline", "\xFF", " "})
    sandbox.write("r/" + std::string(name), "x");
  sandbox.write("r/other", "x");
  expectDone(runFiles("stage:", {"-f", "*", ":(top)x", "with\nline", "\xFF", " "}));
  EXPECT_EQ(sandbox.git("r", {"ls-files", "--others"}), "other");
}

TEST_F(FileActionsTest, StageTakesTheWholeWorkingCopyWhenThatIsChosen) {
  sandbox.write("r/new", "");
  expectDone(runFiles("stage:", {sandbox.path("r")}));
  EXPECT_EQ(status(), "A  new");
}

TEST_F(FileActionsTest, AFailureIsToldInGitsWords) {
  const ActionOutcome outcome = runFiles("stage:", {"a", "missing"});
  expectFailed(outcome, "missing");
  ASSERT_EQ(notifier.shown.size(), 1U);
  EXPECT_EQ(notifier.shown[0].title, "Stage failed");
  EXPECT_EQ(notifier.shown[0].text, outcome.message);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_NE(log.lines()[0].find("missing"), std::string::npos);
}

TEST_F(FileActionsTest, UnstageGivesBackTheIndexAndKeepsTheFiles) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/new", "");
  sandbox.git("r", {"add", "-A"});
  expectDone(runFiles("unstage:", {"a", "new"}));
  EXPECT_EQ(status(), " M a\n?? new");
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
}

TEST_F(FileActionsTest, UnstageOfARenameUnstagesBothNames) {
  sandbox.git("r", {"mv", "a", "c"});
  expectDone(runFiles("unstage:", {"c"}));
  EXPECT_EQ(status(), " D a\n?? c");
}

TEST_F(FileActionsTest, UnstageBeforeTheFirstCommit) {
  sandbox.init("r2");
  sandbox.write("r2/x", "");
  sandbox.git("r2", {"add", "x"});
  expectDone(run(filesRequest("unstage:", {sandbox.path("r2/x")}), context("r2")));
  EXPECT_EQ(status("r2"), "?? x");
}

TEST_F(FileActionsTest, DiscardAsksFirst) {
  sandbox.write("r/a", "two\n");
  answer({"no"});
  expectCancelled(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_NE(asked().find("\"a\""), std::string::npos);
  EXPECT_TRUE(notifier.shown.empty());
}

TEST_F(FileActionsTest, DiscardRefusesWhenItCannotAsk) {
  sandbox.write("r/a", "two\n");
  takeDialogsAway();
  expectFailed(runFiles("discard:", {"a"}), "no way to ask");
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_EQ(notifier.shown.size(), 1U);
}

TEST_F(FileActionsTest, DiscardGoesBackToTheCommitAndDeletesWhatIsNew) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/untracked", "");
  sandbox.write("r/staged", "");
  sandbox.write("r/kept", "");
  sandbox.git("r", {"add", "a", "staged"});
  sandbox.remove("r/sub/b");
  answer({"yes"});
  expectDone(runFiles("discard:", {"a", "untracked", "staged", "sub/b"}));
  EXPECT_EQ(status(), "?? kept");
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  EXPECT_TRUE(sandbox.exists("r/sub/b"));
  EXPECT_NE(asked().find("4 changed item(s)"), std::string::npos);
  EXPECT_NE(asked().find("2 of them"), std::string::npos);
}

TEST_F(FileActionsTest, DiscardOfAFolderLeavesIgnoredFilesAndOtherFolders) {
  sandbox.write("r/.gitignore", "*.o\n");
  sandbox.commitAll("r", "ignore");
  for (const char* name : {"sub/x.o", "sub/deep/new", "sub/b", "new"})
    sandbox.write("r/" + std::string(name), "new");
  answer({"yes"});
  expectDone(runFiles("discard:", {"sub"}));
  EXPECT_EQ(status(), "?? new");
  EXPECT_TRUE(sandbox.exists("r/sub/x.o"));
  EXPECT_FALSE(sandbox.exists("r/sub/deep"));
}

TEST_F(FileActionsTest, DiscardAndUnstageTakeNamesAsTheyAre) {
  const std::vector<std::string> names = {"-f", "*", ":(top)x", "with\nline", "\xFF", " "};
  for (const std::string& name : names) sandbox.write("r/" + name, "x");
  sandbox.write("r/other", "x");
  sandbox.git("r", {"add", "-A"});
  expectDone(runFiles("unstage:", names));
  EXPECT_EQ(sandbox.git("r", {"diff", "--cached", "--name-only"}), "other");
  answer({"yes"});
  expectDone(runFiles("discard:", names));
  EXPECT_EQ(status(), "A  other");
}

TEST_F(FileActionsTest, DiscardOfARenameBringsTheFormerNameBack) {
  sandbox.git("r", {"mv", "a", "c"});
  answer({"yes"});
  expectDone(runFiles("discard:", {"c"}));
  EXPECT_EQ(status(), "");
  EXPECT_TRUE(sandbox.exists("r/a"));
}

TEST_F(FileActionsTest, DiscardOfAConflictGoesBackToTheCommit) {
  makeConflict();
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "ours\n");
  EXPECT_EQ(status(), "");
}

TEST_F(FileActionsTest, DiscardOfASubmoduleBringsItsCommitBack) {
  sandbox.init("m");
  sandbox.write("m/x", "one\n");
  sandbox.commitAll("m", "one");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.commitAll("r", "submodule");
  sandbox.write("r/mod/x", "two\n");
  sandbox.commitAll("r/mod", "two");
  EXPECT_EQ(status(), " M mod");
  answer({"yes"});
  expectDone(runFiles("discard:", {"mod"}));
  EXPECT_EQ(status(), "");
  EXPECT_EQ(sandbox.read("r/mod/x"), "one\n");
}

TEST_F(FileActionsTest, DiscardWithoutChangesSaysSo) {
  expectFailed(runFiles("discard:", {"a"}), "no changes");
  EXPECT_EQ(asked(), "");
}

TEST_F(FileActionsTest, DiscardAllAsksAndEndsAMerge) {
  makeConflict();
  sandbox.write("r/new", "");
  answer({"no"});
  expectCancelled(run(request("discardAll:")));
  EXPECT_TRUE(sandbox.exists("r/new"));
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_EQ(status(), "");
  EXPECT_FALSE(sandbox.exists("r/new"));
  EXPECT_FALSE(sandbox.exists("r/.git/MERGE_HEAD"));
}

TEST_F(FileActionsTest, DiscardAllBeforeTheFirstCommit) {
  sandbox.init("r2");
  sandbox.write("r2/x", "");
  sandbox.git("r2", {"add", "x"});
  answer({"yes"});
  expectDone(run(request("discardAll:"), context("r2")));
  EXPECT_EQ(status("r2"), "");
  EXPECT_FALSE(sandbox.exists("r2/x"));
}

TEST_F(FileActionsTest, RevertTakesTheFilesOfTheReference) {
  sandbox.git("r", {"branch", "old/one"});
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "second");
  expectDone(runOn("revertItems:", "refs/heads/old/one", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  EXPECT_EQ(status(), "M  a");
  EXPECT_EQ(asked(), "") << "nothing is lost";
}

TEST_F(FileActionsTest, RevertAsksWhenChangesWouldBeLost) {
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/a", "two\n");
  answer({"no"});
  expectCancelled(runOn("revertItems:", "refs/tags/v1", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  answer({"yes"});
  expectDone(runOn("revertItems:", "refs/tags/v1", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
}

TEST_F(FileActionsTest, IgnoreWritesAPatternForExactlyTheItem) {
  sandbox.write("r/[x]*", "");
  sandbox.write("r/x", "");
  sandbox.write("r/sub/b.o/inner", "");
  expectDone(runFiles("ignoreItems:", {"[x]*", "sub/b.o"}));
  EXPECT_EQ(sandbox.read("r/.gitignore"), "/\\[x]\\*\n/sub/b.o/\n");
  EXPECT_EQ(status(), "?? .gitignore\n?? x");
}

TEST_F(FileActionsTest, ExcludeWritesToTheRepositorysOwnFile) {
  sandbox.write("r/x", "");
  expectDone(runFiles("excludeItems:", {"x"}));
  EXPECT_EQ(status(), "");
  EXPECT_FALSE(sandbox.exists("r/.gitignore"));
}

TEST_F(FileActionsTest, ExcludeInALinkedWorkingTreeWritesWhereGitLooks) {
  sandbox.git("r", {"worktree", "add", "-q", "../linked"});
  sandbox.write("linked/x", "");
  expectDone(run(filesRequest("excludeItems:", {sandbox.path("linked/x")}), context("linked")));
  EXPECT_EQ(status("linked"), "");
}

TEST_F(FileActionsTest, IgnoreOfANameWithALineBreakIsRefused) {
  sandbox.write("r/two\nlines", "");
  expectFailed(runFiles("ignoreItems:", {"two\nlines"}), "pattern");
  EXPECT_FALSE(sandbox.exists("r/.gitignore"));
}

TEST_F(FileActionsTest, UntrackKeepsTheFiles) {
  sandbox.write("r/new", "");
  expectDone(runFiles("untrackItems:", {"sub", "new"}));
  EXPECT_EQ(status(), "D  sub/b\n?? new\n?? sub/");
  EXPECT_TRUE(sandbox.exists("r/sub/b"));
}

TEST_F(FileActionsTest, UntrackThatWouldLoseStagedContentIsRefusedByGit) {
  sandbox.write("r/a", "staged\n");
  sandbox.git("r", {"add", "a"});
  sandbox.write("r/a", "later\n");
  expectFailed(runFiles("untrackItems:", {"a"}), "a");
  EXPECT_EQ(sandbox.git("r", {"show", ":a"}), "staged");
}

TEST_F(FileActionsTest, ItemsOfAnotherPlaceAreRefused) {
  sandbox.write("elsewhere", "");
  sandbox.write("r/new", "");
  expectFailed(runFiles("stage:", {"new", sandbox.path("elsewhere")}), "not in the working copy");
  expectFailed(runFiles("stage:", {"new", "../elsewhere"}), "not in the working copy");
  EXPECT_EQ(status(), "?? new");
  expectFailed(runFiles("stage:", {}), "no files");
}

}  // namespace
}  // namespace kelpie::agent
