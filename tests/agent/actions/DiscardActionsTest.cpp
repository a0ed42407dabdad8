#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class DiscardActionsTest : public ActionFixture {
 protected:
  // The permissions of a file in the repository, as octal digits.
  std::string mode(const std::string& file) const {
    return sandbox.sh("stat -c %a " + sandbox.path("r/" + file));
  }
  std::string kept() const {
    return sandbox.git("r", {"for-each-ref", "--format=%(refname)", "refs/kelpie"});
  }
  ActionOutcome undo() { return run(request("undoDiscard:")); }
  bool wasAsked(std::string_view words) const { return asked().find(words) != std::string::npos; }
  // A git that has no room for new objects.
  void fillDisk() const {
    sandbox.writeScript("bin/git",
                        "case \"$*\" in *hash-object\\ -w*) echo 'No space left on device' >&2; "
                        "exit 128 ;; esac\nexec /usr/bin/git \"$@\"\n");
  }
};

TEST_F(DiscardActionsTest, DiscardAsksFirst) {
  sandbox.write("r/a", "two\n");
  answer({"no"});
  expectCancelled(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_NE(asked().find("\"a\""), std::string::npos);
  EXPECT_TRUE(notifier.shown.empty());
}

TEST_F(DiscardActionsTest, DiscardRefusesWhenItCannotAsk) {
  sandbox.write("r/a", "two\n");
  removeDialogs();
  expectFailed(runFiles("discard:", {"a"}), "no way to ask");
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_EQ(notifier.shown.size(), 1U);
}

TEST_F(DiscardActionsTest, DiscardGoesBackToTheCommitAndDeletesWhatIsNew) {
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

TEST_F(DiscardActionsTest, DiscardOfAFolderLeavesIgnoredFilesAndOtherFolders) {
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

TEST_F(DiscardActionsTest, DiscardOfARenameBringsTheFormerNameBack) {
  sandbox.git("r", {"mv", "a", "c"});
  answer({"yes"});
  expectDone(runFiles("discard:", {"c"}));
  EXPECT_EQ(status(), "");
  EXPECT_TRUE(sandbox.exists("r/a"));
}

TEST_F(DiscardActionsTest, DiscardOfAConflictGoesBackToTheCommit) {
  makeConflict();
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "ours\n");
  EXPECT_EQ(status(), "");
}

TEST_F(DiscardActionsTest, DiscardOfASubmoduleBringsItsCommitBack) {
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

TEST_F(DiscardActionsTest, DiscardWithoutChangesSaysSo) {
  expectFailed(runFiles("discard:", {"a"}), "no changes");
  EXPECT_EQ(asked(), "");
}

TEST_F(DiscardActionsTest, DiscardAllAsksAndEndsAMerge) {
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

TEST_F(DiscardActionsTest, DiscardAllBeforeTheFirstCommit) {
  sandbox.init("r2");
  sandbox.write("r2/x", "");
  sandbox.git("r2", {"add", "x"});
  answer({"yes"});
  expectDone(run(request("discardAll:"), context("r2")));
  EXPECT_EQ(status("r2"), "");
  EXPECT_FALSE(sandbox.exists("r2/x"));
}

TEST_F(DiscardActionsTest, RevertTakesTheFilesOfTheReference) {
  sandbox.git("r", {"branch", "old/one"});
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "second");
  expectDone(runOn("revertItems:", "refs/heads/old/one", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  EXPECT_EQ(status(), "M  a");
  EXPECT_EQ(asked(), "") << "nothing is lost";
}

TEST_F(DiscardActionsTest, RevertAsksWhenChangesWouldBeLost) {
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/a", "two\n");
  answer({"no"});
  expectCancelled(runOn("revertItems:", "refs/tags/v1", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  answer({"yes"});
  expectDone(runOn("revertItems:", "refs/tags/v1", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
}

// -- What the question counted, and nothing else -------------------------------------------------

TEST_F(DiscardActionsTest, FilesThatGitWasToldNotToShowStay) {
  sandbox.git("r", {"config", "status.showUntrackedFiles", "no"});
  sandbox.write("r/staged", "x");
  sandbox.write("r/sub/untracked", "x");
  sandbox.write("r/untracked", "x");
  sandbox.git("r", {"add", "staged"});
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_TRUE(wasAsked("1 changed item(s)"));
  EXPECT_FALSE(sandbox.exists("r/staged"));
  EXPECT_TRUE(sandbox.exists("r/untracked"));
  EXPECT_TRUE(sandbox.exists("r/sub/untracked"));
}

TEST_F(DiscardActionsTest, FilesInAFolderThatGitWasToldNotToShowStay) {
  sandbox.git("r", {"config", "status.showUntrackedFiles", "no"});
  sandbox.write("r/sub/staged", "x");
  sandbox.write("r/sub/untracked", "x");
  sandbox.git("r", {"add", "sub/staged"});
  answer({"yes"});
  expectDone(runFiles("discard:", {"sub"}));
  EXPECT_FALSE(sandbox.exists("r/sub/staged"));
  EXPECT_TRUE(sandbox.exists("r/sub/untracked"));
}

TEST_F(DiscardActionsTest, FilesThatAreMadeWhileTheQuestionIsOpenStay) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/new/one", "x");
  meanwhile("echo x > new/two; echo x > three; echo changed > sub/b");
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_EQ(status(), " M sub/b\n?? new/\n?? three");
  EXPECT_FALSE(sandbox.exists("r/new/one"));
  EXPECT_EQ(sandbox.read("r/sub/b"), "changed\n");
}

TEST_F(DiscardActionsTest, WhatChangesWhileTheQuestionIsOpenIsAskedAboutAgain) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/new", "first");
  meanwhile("echo later > a; echo later > new");
  answer({"yes", "no"});
  expectCancelled(run(request("discardAll:")));
  EXPECT_TRUE(wasAsked("have changed since you were asked"));
  EXPECT_EQ(sandbox.read("r/a"), "later\n");
  EXPECT_EQ(sandbox.read("r/new"), "later\n");
  EXPECT_EQ(kept(), "");
}

TEST_F(DiscardActionsTest, WhatChangedMeanwhileAndWasAgreedToCanBeHadBack) {
  sandbox.write("r/a", "two\n");
  meanwhile("echo later > a");
  answer({"yes", "yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/a"), "later\n");
}

TEST_F(DiscardActionsTest, ANestedRepositoryStays) {
  sandbox.init("r/nested");
  sandbox.write("r/nested/x", "x");
  sandbox.write("r/a", "two\n");
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_TRUE(wasAsked("1 changed item(s)"));
  EXPECT_TRUE(wasAsked("stay: \"nested\""));
  EXPECT_TRUE(sandbox.exists("r/nested/x"));
  expectFailed(run(request("discardAll:")), "no changes");
}

TEST_F(DiscardActionsTest, LinksAreNotFollowed) {
  sandbox.write("elsewhere/b", "theirs");
  sandbox.sh("cd r && rm -r sub && ln -s ../elsewhere sub");
  answer({"yes"});
  expectDone(runFiles("discard:", {"sub"}));
  EXPECT_EQ(status(), "");
  EXPECT_EQ(sandbox.read("r/sub/b"), "one\n");
  EXPECT_EQ(sandbox.read("elsewhere/b"), "theirs");
  expectDone(undo());
  EXPECT_EQ(sandbox.sh("readlink r/sub"), "../elsewhere");
  EXPECT_EQ(sandbox.read("elsewhere/b"), "theirs");
}

TEST_F(DiscardActionsTest, WhatStandsInTheWayAndWasNotChosenStays) {
  sandbox.remove("r/sub/b");
  sandbox.remove("r/sub");
  sandbox.write("r/sub", "mine");
  answer({"yes"});
  expectFailed(runFiles("discard:", {"sub/b"}), "\"sub\" is in its way");
  EXPECT_EQ(sandbox.read("r/sub"), "mine");
  EXPECT_EQ(asked(), "");
}

TEST_F(DiscardActionsTest, IgnoredFilesInAFolderInThePlaceOfAFileStay) {
  sandbox.write("r/.gitignore", "*.o\n");
  sandbox.commitAll("r", "ignore");
  sandbox.remove("r/a");
  sandbox.write("r/a/x.o", "object");
  answer({"yes"});
  expectFailed(run(request("discardAll:")), "a/x.o");
  EXPECT_TRUE(sandbox.exists("r/a/x.o"));
}

TEST_F(DiscardActionsTest, AFolderInThePlaceOfAFileGoesWithItsNewFiles) {
  sandbox.remove("r/a");
  sandbox.write("r/a/deep/new", "x");
  sandbox.makeFolder("r/a/empty");
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/a/deep/new"), "x");
}

TEST_F(DiscardActionsTest, ANewFileWithTheFormerNameOfARenamedOneIsCounted) {
  sandbox.git("r", {"mv", "a", "c"});
  sandbox.write("r/a", "mine");
  answer({"yes"});
  expectDone(runFiles("discard:", {"c"}));
  EXPECT_TRUE(wasAsked("2 changed item(s)"));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/a"), "mine");
}

// -- Put aside, and brought back -----------------------------------------------------------------

TEST_F(DiscardActionsTest, UndoBringsEverythingBackAsItWas) {
  sandbox.git("r", {"config", "core.autocrlf", "input"});
  sandbox.write("r/a", "staged\n");
  sandbox.write("r/gone", "here\n");
  sandbox.write("r/removed", "here\n");
  sandbox.commitAll("r", "more");
  sandbox.write("r/a", "staged again\n");
  sandbox.git("r", {"add", "a"});
  sandbox.write("r/a", "later\r\n");
  sandbox.remove("r/gone");
  sandbox.git("r", {"rm", "-q", "--cached", "removed"});
  sandbox.write("r/intended", "x\n");
  sandbox.git("r", {"add", "-N", "intended"});
  sandbox.write("r/new/deep/two\nlines", "x");
  sandbox.write("r/new/tool", "#!");
  sandbox.write("r/new/secret\r", "s");
  sandbox.sh("cd r && chmod 750 new/tool && chmod 600 new/secret* && ln -s nowhere new/link");
  const std::string before = sandbox.git("r", {"status", "--porcelain=v2", "-uall"});
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_EQ(status(), "");
  ASSERT_EQ(notifier.offered.size(), 1U);
  EXPECT_EQ(notifier.offered[0].button.label, "Undo");
  EXPECT_NE(notifier.offered[0].text.find("kelpie undo '" + sandbox.path("r") + "'"),
            std::string::npos);
  last.reset();
  notifier.press();
  queues.runAll();
  ASSERT_TRUE(last);
  expectDone(*last);
  EXPECT_EQ(sandbox.git("r", {"status", "--porcelain=v2", "-uall"}), before);
  EXPECT_EQ(sandbox.read("r/a"), "later\r\n") << "byte for byte";
  EXPECT_EQ(sandbox.git("r", {"show", ":a"}), "staged again");
  EXPECT_EQ(mode("new/tool"), "750");
  EXPECT_EQ(mode("new/secret*"), "600");
  EXPECT_EQ(sandbox.sh("readlink r/new/link"), "nowhere");
  EXPECT_EQ(asked().find("bring back"), std::string::npos) << "nothing has changed since";
  EXPECT_EQ(kept(), "");
  expectFailed(undo(), "nothing that was put aside");
}

TEST_F(DiscardActionsTest, OnlyTheLastIsOfferedToBeUndone) {
  const auto discard = [&](const std::string& text) {
    sandbox.write("r/a", text);
    answer({"yes"});
    expectDone(run(request("discardAll:")));
    EXPECT_EQ(notifier.offered.size(), 1U) << "the button of the one before would undo this one";
  };
  discard("first\n");
  discard("second\n");
  ASSERT_FALSE(notifier.offered.empty());
  notifier.press();
  queues.runAll();
  EXPECT_EQ(sandbox.read("r/a"), "second\n");
  discard("third\n");
  const auto stale = notifier.offered.back().button.pressed;
  runner.reset();
  stale();
  EXPECT_EQ(queues.pending(), 0U) << "a button may be pressed at the very end";
}

TEST_F(DiscardActionsTest, UndoBringsAMergeBack) {
  makeConflict();
  sandbox.write("r/a", "by hand\n");
  const std::string before = sandbox.git("r", {"ls-files", "--stage"});
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  EXPECT_FALSE(sandbox.exists("r/.git/MERGE_HEAD"));
  expectDone(undo());
  EXPECT_EQ(sandbox.git("r", {"ls-files", "--stage"}), before);
  EXPECT_EQ(sandbox.read("r/a"), "by hand\n");
  EXPECT_TRUE(sandbox.exists("r/.git/MERGE_HEAD"));
}

TEST_F(DiscardActionsTest, UndoAsksWhereSomethingHasChangedSinceAndPutsThatAside) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/new", "first");
  answer({"yes", "no", "yes"});
  expectDone(run(request("discardAll:")));
  sandbox.write("r/a", "three\n");
  sandbox.write("r/new", "second");
  expectCancelled(undo());
  EXPECT_TRUE(wasAsked("2 of them have changed since"));
  EXPECT_EQ(sandbox.read("r/a"), "three\n");
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_EQ(sandbox.read("r/new"), "first");
  answer({"yes"});
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/a"), "three\n");
  EXPECT_EQ(sandbox.read("r/new"), "second");
}

TEST_F(DiscardActionsTest, NothingIsDestroyedWhereItCannotBePutAside) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/new", "x");
  fillDisk();
  answer({"yes"});
  expectFailed(run(request("discardAll:")), "No space left on device");
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_TRUE(sandbox.exists("r/new"));
  EXPECT_EQ(sandbox.sh("ls -d r/.git/kelpie-* 2>/dev/null; true"), "");
}

TEST_F(DiscardActionsTest, NothingIsDestroyedWhileTheIndexIsLocked) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/staged", "x");
  sandbox.git("r", {"add", "staged"});
  sandbox.write("r/.git/index.lock", "");
  answer({"yes"});
  expectFailed(run(request("discardAll:")), "index.lock");
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  EXPECT_TRUE(sandbox.exists("r/staged"));
}

TEST_F(DiscardActionsTest, WhatIsTooLargeToBePutAsideIsNamed) {
  sandbox.sh("truncate -s 200M r/huge");
  sandbox.write("r/a", "two\n");
  answer({"no", "yes"});
  expectCancelled(run(request("discardAll:")));
  EXPECT_TRUE(wasAsked("1 item(s) cannot be put aside and will be LOST for good: \"huge\""));
  expectDone(run(request("discardAll:")));
  EXPECT_EQ(status(), "");
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
}

TEST_F(DiscardActionsTest, ChangesInASubmoduleAreCountedAndPutAsideThere) {
  sandbox.init("m");
  sandbox.write("m/x", "one\n");
  sandbox.commitAll("m", "one");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.commitAll("r", "submodule");
  sandbox.write("r/mod/x", "two\n");
  sandbox.write("r/mod/untracked", "x");
  answer({"yes"});
  expectDone(runFiles("discard:", {"mod"}));
  EXPECT_TRUE(wasAsked("In submodules, 1 more."));
  EXPECT_EQ(sandbox.read("r/mod/x"), "one\n");
  EXPECT_TRUE(sandbox.exists("r/mod/untracked"));
  expectDone(run(request("undoDiscard:"), context("r/mod")));
  EXPECT_EQ(sandbox.read("r/mod/x"), "two\n");
}

TEST_F(DiscardActionsTest, TheOfferNamesWhereSomethingWasPutAsideAndBringsThatBack) {
  sandbox.setVariable("GIT_ALLOW_PROTOCOL", "file");
  sandbox.init("m");
  sandbox.write("m/x", "one\n");
  sandbox.commitAll("m", "one");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.commitAll("r", "submodule");
  sandbox.write("r/a", "long ago\n");
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  sandbox.write("r/mod/x", "two\n");
  answer({"yes"});
  expectDone(runFiles("discard:", {"mod"}));
  EXPECT_NE(notifier.offered.back().text.find("kelpie undo '" + sandbox.path("r/mod") + "'"),
            std::string::npos);
  notifier.press();
  queues.runAll();
  EXPECT_EQ(sandbox.read("r/mod/x"), "two\n");
  EXPECT_EQ(sandbox.read("r/a"), "one\n") << "it was not spoken of";
}

TEST_F(DiscardActionsTest, AnOfferThatIsOutOfDateDoesNothingAndSaysSo) {
  sandbox.write("r/a", "first\n");
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  const auto stale = notifier.offered.back().button.pressed;
  expectDone(undo());
  EXPECT_TRUE(notifier.offered.empty());
  sandbox.write("r/a", "one\n");
  sandbox.write("r/sub/b", "other\n");
  answer({"yes"});
  expectDone(runFiles("discard:", {"sub/b"}));
  last.reset();
  stale();
  queues.runAll();
  ASSERT_TRUE(last);
  expectFailed(*last, "has been brought back already");
  EXPECT_EQ(sandbox.read("r/sub/b"), "one\n");
  EXPECT_EQ(notifier.shown.size(), 1U);
}

TEST_F(DiscardActionsTest, APipeInThePlaceOfGitsOwnFilesIsNotWaitedFor) {
  sandbox.write("r/a", "two\n");
  sandbox.sh("mkfifo r/.git/MERGE_MSG");
  answer({"yes"});
  expectDone(runFiles("discard:", {"a"}));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
}

TEST_F(DiscardActionsTest, TheOldestRecordsAreForgotten) {
  for (int i = 1; i <= 30; ++i)
    sandbox.git("r",
                {"update-ref", "refs/kelpie/kept/main/000000" + std::to_string(10 + i), "HEAD"});
  sandbox.write("r/a", "two\n");
  answer({"yes"});
  expectDone(run(request("discardAll:")));
  const std::string names = kept();
  EXPECT_EQ(std::count(names.begin(), names.end(), '\n') + 1, 20);
  EXPECT_NE(names.find("00000041"), std::string::npos) << "that of now";
}

TEST_F(DiscardActionsTest, EachWorkingTreeHasRecordsOfItsOwn) {
  sandbox.git("r", {"worktree", "add", "-q", "../linked"});
  sandbox.write("linked/a", "two\n");
  answer({"yes"});
  expectDone(run(request("discardAll:"), context("linked")));
  expectFailed(undo(), "nothing that was put aside");
  expectDone(run(request("undoDiscard:"), context("linked")));
  EXPECT_EQ(sandbox.read("linked/a"), "two\n");
}

// -- Reverting -----------------------------------------------------------------------------------

TEST_F(DiscardActionsTest, RevertNamesTheUntrackedAndIgnoredFilesThatItOverwrites) {
  sandbox.write("r/sub/x.o", "committed\n");
  sandbox.write("r/sub/new", "committed\n");
  sandbox.commitAll("r", "with more");
  sandbox.git("r", {"tag", "v2"});
  sandbox.git("r", {"reset", "-q", "--hard", "HEAD~1"});
  sandbox.write("r/.gitignore", "*.o\n");
  sandbox.write("r/sub/x.o", "mine\n");
  sandbox.write("r/sub/new", "mine\n");
  answer({"no", "yes"});
  expectCancelled(runOn("revertItems:", "refs/tags/v2", {"sub"}));
  EXPECT_TRUE(wasAsked("2 file(s) that are untracked or ignored will be overwritten"));
  EXPECT_EQ(sandbox.read("r/sub/x.o"), "mine\n");
  expectDone(runOn("revertItems:", "refs/tags/v2", {"sub"}));
  EXPECT_EQ(sandbox.read("r/sub/new"), "committed\n");
  expectDone(undo());
  EXPECT_EQ(sandbox.read("r/sub/x.o"), "mine\n");
  EXPECT_EQ(sandbox.read("r/sub/new"), "mine\n");
  EXPECT_EQ(status(), "?? .gitignore\n?? sub/new");
}

TEST_F(DiscardActionsTest, RevertToACommitThatHasNoSuchFileSaysSo) {
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/c", "x");
  sandbox.commitAll("r", "c");
  expectFailed(runOn("revertItems:", "refs/tags/v1", {"a", "c"}), "\"c\" is not in \"v1\"");
}

}  // namespace
}  // namespace kelpie::agent
