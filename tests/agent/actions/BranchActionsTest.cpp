#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class BranchActionsTest : public ActionFixture {
 protected:
  std::string head() const { return sandbox.git("r", {"symbolic-ref", "--short", "HEAD"}); }
  std::string oid(const std::string& name) const { return sandbox.git("r", {"rev-parse", name}); }
  bool has(const std::string& fullName) const {
    return sandbox.tryGit("r", {"show-ref", "--verify", "--quiet", fullName}).succeeded();
  }
  // A branch with one commit more than "main".
  void makeBranch(const std::string& name) const {
    sandbox.git("r", {"checkout", "-q", "-b", name});
    sandbox.write("r/of branch", "x\n");
    sandbox.commitAll("r", "of branch");
    sandbox.git("r", {"checkout", "-q", "main"});
  }
};

TEST_F(BranchActionsTest, CheckoutSwitchesToTheBranch) {
  makeBranch("feature/x");
  expectDone(runOn("checkout:", "refs/heads/feature/x"));
  EXPECT_EQ(head(), "feature/x");
}

TEST_F(BranchActionsTest, CheckoutOfABranchNamedLikeAnOptionAFileOrATag) {
  sandbox.git("r", {"update-ref", "refs/heads/-f", "HEAD"});
  sandbox.git("r", {"branch", "a"});
  sandbox.git("r", {"tag", "a"});
  for (const char* name : {"-f", "a"}) {
    expectDone(runOn("checkout:", std::string("refs/heads/") + name));
    EXPECT_EQ(sandbox.git("r", {"symbolic-ref", "HEAD"}), std::string("refs/heads/") + name);
  }
}

TEST_F(BranchActionsTest, CheckoutThatWouldLoseChangesIsRefusedByGit) {
  sandbox.git("r", {"checkout", "-q", "-b", "other"});
  sandbox.write("r/a", "other\n");
  sandbox.commitAll("r", "other");
  sandbox.git("r", {"checkout", "-q", "main"});
  sandbox.write("r/a", "mine\n");
  expectFailed(runOn("checkout:", "refs/heads/other"), "overwritten");
  EXPECT_EQ(sandbox.read("r/a"), "mine\n");
}

TEST_F(BranchActionsTest, AReferenceThatVanishedMeanwhileIsSaidSo) {
  makeBranch("gone");
  const ActionContext before = context();
  const std::int64_t number = before.references->referenceNamed("refs/heads/gone")->number;
  sandbox.git("r", {"branch", "-q", "-D", "gone"});
  expectFailed(run(request("checkout:", "gone", number), before), "changed");
  expectFailed(run(request("merge:", "gone", number), before), "changed");
  EXPECT_EQ(head(), "main");
}

TEST_F(BranchActionsTest, TheNumberAloneSaysWhichReferenceIsMeant) {
  makeBranch("one");
  const ActionContext now = context();
  const std::int64_t number = now.references->referenceNamed("refs/heads/one")->number;
  answer({"yes", "yes", "yes", "yes"});
  // The menu was made by an agent that ran before.
  expectFailed(run(request("deleteBranches:", "one", number), context()), "changed");
  expectFailed(run(request("deleteBranches:", "one", 1 << 20), now), "changed");
  expectFailed(run(request("deleteTags:", "one", number), now), "changed");
  EXPECT_TRUE(has("refs/heads/one"));
  expectDone(run(request("deleteBranches:", "whatever the menu calls it", number), now));
  EXPECT_FALSE(has("refs/heads/one"));
}

TEST_F(BranchActionsTest, WithoutReferencesANumberNamesNothing) {
  ActionContext bare = context();
  const std::int64_t number = bare.references->referenceNamed("refs/heads/main")->number;
  bare.references = nullptr;
  expectFailed(run(request("checkout:", "main", number), bare), "changed");
}

TEST_F(BranchActionsTest, ResetGoesAsFarAsIsChosen) {
  sandbox.git("r", {"tag", "v1"});
  const auto change = [&] {
    sandbox.git("r", {"reset", "-q", "--hard", "v1"});
    sandbox.write("r/a", "two\n");
    sandbox.commitAll("r", "second");
  };
  change();
  answer({"0"});
  expectDone(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(status(), " M a");
  change();
  answer({"1"});
  expectDone(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(status(), "M  a");
  change();
  answer({"2"});
  expectDone(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(status(), "");
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
}

TEST_F(BranchActionsTest, AHardResetNamesWhatIsLostAndPutsItAside) {
  sandbox.write("r/x.o", "committed\n");
  sandbox.commitAll("r", "with an object");
  sandbox.git("r", {"tag", "v1"});
  sandbox.git("r", {"rm", "-q", "x.o"});
  sandbox.write("r/.gitignore", "*.o\n");
  sandbox.commitAll("r", "without");
  sandbox.write("r/a", "mine\n");
  sandbox.write("r/x.o", "mine\n");
  answer({"2", "no", "2", "yes"});
  expectCancelled(runOn("reset:", "refs/tags/v1"));
  EXPECT_NE(asked().find("2 item(s) are changed and not committed, or untracked"),
            std::string::npos);
  EXPECT_EQ(sandbox.read("r/x.o"), "mine\n");
  expectDone(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(status(), "");
  expectDone(run(request("undoDiscard:")));
  EXPECT_EQ(sandbox.read("r/a"), "mine\n");
  EXPECT_EQ(sandbox.read("r/x.o"), "mine\n");
}

TEST_F(BranchActionsTest, AHardResetPutsFilesInThePlaceOfFoldersAndTheOtherWayRound) {
  sandbox.write("r/file", "file\n");
  sandbox.write("r/folder/inner", "inner\n");
  sandbox.commitAll("r", "one way");
  sandbox.git("r", {"tag", "v1"});
  sandbox.git("r", {"rm", "-q", "-r", "file", "folder"});
  sandbox.write("r/file/inner", "inner\n");
  sandbox.write("r/folder", "folder\n");
  sandbox.commitAll("r", "the other way");
  answer({"2"});
  expectDone(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(status(), "");
  EXPECT_EQ(sandbox.read("r/folder/inner"), "inner\n");
}

TEST_F(BranchActionsTest, AHardResetAsksAgainAboutWhatChangedMeanwhile) {
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/a", "mine\n");
  answer({"2", "yes", "no"});
  // The first dialog is the choice of how far, the second the question.
  meanwhile("echo 'echo new > sub/b' > ../meanwhile");
  expectCancelled(runOn("reset:", "refs/tags/v1"));
  EXPECT_EQ(sandbox.read("r/sub/b"), "new\n");
  EXPECT_EQ(sandbox.read("r/a"), "mine\n");
}

TEST_F(BranchActionsTest, ABranchThatMovesWhileTheQuestionIsOpenIsAskedAboutAgain) {
  makeBranch("topic");
  meanwhile("git update-ref refs/heads/topic $(git commit-tree -p topic -m more topic^{tree})");
  answer({"yes", "no"});
  expectCancelled(runOn("deleteBranches:", "refs/heads/topic"));
  EXPECT_NE(asked().find("2 commit(s)"), std::string::npos);
  EXPECT_TRUE(has("refs/heads/topic"));
}

TEST_F(BranchActionsTest, DeletingATagSaysWhatIsLost) {
  makeBranch("topic");
  sandbox.git("r", {"tag", "only", "topic"});
  sandbox.git("r", {"branch", "-q", "-D", "topic"});
  answer({"no"});
  expectCancelled(runOn("deleteTags:", "refs/tags/only"));
  EXPECT_NE(asked().find("1 commit(s)"), std::string::npos);
}

TEST_F(BranchActionsTest, ResetDoesNothingWithoutAnAnswer) {
  sandbox.git("r", {"tag", "v1"});
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "second");
  const std::string before = oid("HEAD");
  for (const char* what : {"no", "3", "-1", "x"}) {
    answer({what});
    expectCancelled(runOn("reset:", "refs/tags/v1"));
  }
  removeDialogs();
  expectFailed(runOn("reset:", "refs/tags/v1"), "no way to ask");
  EXPECT_EQ(oid("HEAD"), before);
}

TEST_F(BranchActionsTest, MergeBringsTheBranchIn) {
  makeBranch("feature/x");
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "on main");
  expectDone(runOn("merge:", "refs/heads/feature/x"));
  EXPECT_TRUE(sandbox.exists("r/of branch"));
  EXPECT_EQ(sandbox.git("r", {"log", "-1", "--format=%s"}), "Merge branch 'feature/x'");
}

TEST_F(BranchActionsTest, MergeTakesTheChosenOneOfTwoOfTheSameName) {
  makeBranch("same");
  sandbox.git("r", {"tag", "same", "main"});
  expectDone(runOn("merge:", "refs/heads/same"));
  EXPECT_TRUE(sandbox.exists("r/of branch"));
}

TEST_F(BranchActionsTest, AMergeWithConflictsIsToldInGitsWords) {
  makeConflict();
  sandbox.git("r", {"merge", "--abort"});
  expectFailed(runOn("merge:", "refs/heads/other"), "a");
  EXPECT_EQ(status(), "UU a");
  EXPECT_EQ(notifier.shown.size(), 1U);
}

TEST_F(BranchActionsTest, RebasePutsTheBranchOnTop) {
  makeBranch("base");
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "on main");
  expectDone(runOn("rebase:", "refs/heads/base"));
  EXPECT_EQ(oid("main~1"), oid("base"));
}

TEST_F(BranchActionsTest, CreatesABranchOfTheNameThatIsTyped) {
  sandbox.git("r", {"tag", "v1"});
  answer({"  feature/new "});
  expectDone(runOn("createBranch:", "refs/tags/v1"));
  EXPECT_TRUE(has("refs/heads/feature/new"));
  EXPECT_EQ(head(), "main");
}

TEST_F(BranchActionsTest, ProposesTheNameOfARemotesBranch) {
  makeBranch("topic/x");
  addRemote();
  sandbox.git("r", {"branch", "-q", "-D", "topic/x"});
  answer({"topic/x"});
  expectDone(runOn("createBranch:", "refs/remotes/origin/topic/x"));
  EXPECT_NE(asked().find("--entry-text=topic/x\n"), std::string::npos);
  EXPECT_EQ(sandbox.git("r", {"rev-parse", "--symbolic-full-name", "topic/x@{u}"}),
            "refs/remotes/origin/topic/x");
}

TEST_F(BranchActionsTest, NamesThatAreNoneAreRefusedByGit) {
  for (const char* name : {"-f", "--delete", "a..b", "x y", "refs/../x"}) {
    answer({name});
    expectFailed(runOn("createBranch:", "refs/heads/main"), "valid");
    answer({name});
    expectFailed(runOn("createTag:", "refs/heads/main"), "valid");
  }
  EXPECT_EQ(sandbox.git("r", {"for-each-ref", "--format=%(refname)"}), "refs/heads/main");
}

TEST_F(BranchActionsTest, WithoutANameNothingIsCreated) {
  answer({"no"});
  expectCancelled(runOn("createBranch:", "refs/heads/main"));
  removeDialogs();
  expectFailed(runOn("createTag:", "refs/heads/main"), "no way to ask");
}

TEST_F(BranchActionsTest, CreatesATag) {
  answer({"v1"});
  expectDone(runOn("createTag:", "refs/heads/main"));
  EXPECT_EQ(oid("refs/tags/v1"), oid("main"));
}

TEST_F(BranchActionsTest, RenamesABranch) {
  makeBranch("old");
  answer({"new"});
  expectDone(runOn("renameBranch:", "refs/heads/old"));
  EXPECT_FALSE(has("refs/heads/old"));
  EXPECT_TRUE(has("refs/heads/new"));
}

TEST_F(BranchActionsTest, DeletesABranchAfterSayingWhatIsLost) {
  makeBranch("topic");
  answer({"no"});
  expectCancelled(runOn("deleteBranches:", "refs/heads/topic"));
  EXPECT_NE(asked().find("1 commit(s)"), std::string::npos);
  EXPECT_TRUE(has("refs/heads/topic"));
  answer({"yes"});
  expectDone(runOn("deleteBranches:", "refs/heads/topic"));
  EXPECT_FALSE(has("refs/heads/topic"));
}

TEST_F(BranchActionsTest, DeletingABranchThatIsInAnotherSaysOfNoLoss) {
  sandbox.git("r", {"branch", "merged"});
  answer({"yes"});
  expectDone(runOn("deleteBranches:", "refs/heads/merged"));
  EXPECT_EQ(asked().find("lost"), std::string::npos);
}

TEST_F(BranchActionsTest, DeletingRefusesWhenItCannotAsk) {
  sandbox.git("r", {"branch", "merged"});
  sandbox.git("r", {"tag", "v1"});
  removeDialogs();
  expectFailed(runOn("deleteBranches:", "refs/heads/merged"), "no way to ask");
  expectFailed(runOn("deleteTags:", "refs/tags/v1"), "no way to ask");
  EXPECT_TRUE(has("refs/heads/merged"));
  EXPECT_TRUE(has("refs/tags/v1"));
}

TEST_F(BranchActionsTest, DeletingTheBranchThatIsCheckedOutIsRefusedByGit) {
  answer({"yes"});
  expectFailed(runOn("deleteBranches:", "refs/heads/main"), "main");
}

TEST_F(BranchActionsTest, DeletesATag) {
  sandbox.git("r", {"update-ref", "refs/tags/-d", "HEAD"});
  answer({"no", "yes"});
  expectCancelled(runOn("deleteTags:", "refs/tags/-d"));
  expectDone(runOn("deleteTags:", "refs/tags/-d"));
  EXPECT_FALSE(has("refs/tags/-d"));
}

TEST_F(BranchActionsTest, FastForwardsTheBranchThatIsCheckedOutAndOthers) {
  addRemote();
  sandbox.git("r", {"branch", "side", "origin/main"});
  sandbox.git("", {"clone", "-q", "far", "peer"});
  sandbox.write("peer/a", "two\n");
  sandbox.commitAll("peer", "second");
  sandbox.git("peer", {"push", "-q"});
  sandbox.git("r", {"fetch", "-q", "origin"});
  expectDone(runOn("fastForward:", "refs/heads/main"));
  expectDone(runOn("fastForward:", "refs/heads/side"));
  EXPECT_EQ(oid("main"), oid("origin/main"));
  EXPECT_EQ(oid("side"), oid("origin/main"));
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
}

TEST_F(BranchActionsTest, WhatCannotBeFastForwardedIsLeftAlone) {
  addRemote();
  sandbox.git("r", {"branch", "side", "origin/main"});
  sandbox.git("r", {"branch", "alone", "--no-track"});
  sandbox.git("r", {"checkout", "-q", "side"});
  sandbox.write("r/a", "mine\n");
  sandbox.commitAll("r", "mine");
  sandbox.git("r", {"checkout", "-q", "main"});
  const std::string before = oid("side");
  sandbox.git("r", {"commit", "-q", "--allow-empty", "-m", "x"});
  sandbox.git("r", {"update-ref", "refs/remotes/origin/main", "main"});
  expectFailed(runOn("fastForward:", "refs/heads/side"), "");
  expectFailed(runOn("fastForward:", "refs/heads/alone"), "tracks no other");
  EXPECT_EQ(oid("side"), before);
}

TEST_F(BranchActionsTest, ExportsTheTreeToTheFileThatIsChosen) {
  makeBranch("feature/x");
  answer({sandbox.path("out.tar")});
  expectDone(runOn("exportCommits:", "refs/heads/feature/x"));
  const std::string list = sandbox.read("out.tar");
  EXPECT_NE(list.find("feature-x/of branch"), std::string::npos);
  EXPECT_NE(asked().find("--save"), std::string::npos);
}

TEST_F(BranchActionsTest, AppliesAPatch) {
  sandbox.write("r/a", "two\n");
  sandbox.write("p.patch", sandbox.git("r", {"diff"}) + "\n");
  sandbox.git("r", {"checkout", "-q", "--", "a"});
  answer({sandbox.path("p.patch")});
  expectDone(run(request("applyPatch:")));
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
  answer({"no"});
  expectCancelled(run(request("applyPatch:")));
}

}  // namespace
}  // namespace kelpie::agent
