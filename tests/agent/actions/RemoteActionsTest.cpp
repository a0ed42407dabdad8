#include <gtest/gtest.h>

#include <string>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class RemoteActionsTest : public ActionFixture {
 protected:
  void SetUp() override {
    ActionFixture::SetUp();
    sandbox.git("r", {"branch", "topic/x"});
    addRemote();
  }
  std::string oid(const std::string& folder, const std::string& name) const {
    return sandbox.git(folder, {"rev-parse", name});
  }
  bool has(const std::string& folder, const std::string& fullName) const {
    return sandbox.tryGit(folder, {"show-ref", "--verify", "--quiet", fullName}).succeeded();
  }
  // Somebody else adds a commit to a branch of the remote.
  void commitFar(const std::string& branch) const {
    sandbox.remove("peer");
    sandbox.git("", {"clone", "-q", "-b", branch, "far", "peer"});
    sandbox.write("peer/far", "x\n");
    sandbox.commitAll("peer", "far");
    sandbox.git("peer", {"push", "-q"});
  }
};

TEST_F(RemoteActionsTest, AddsARemote) {
  answer({sandbox.path("far"), "second"});
  expectDone(run(request("addRemote:")));
  EXPECT_EQ(sandbox.git("r", {"remote", "get-url", "second"}), sandbox.path("far"));
}

TEST_F(RemoteActionsTest, AddingNeedsBothAnswersAndAName) {
  answer({"there", "no"});
  expectCancelled(run(request("addRemote:")));
  answer({"--upload-pack=x", "name", "there", "-f"});
  expectFailed(run(request("addRemote:")), "begin with");
  expectFailed(run(request("addRemote:")), "begin with");
  removeDialogs();
  expectFailed(run(request("addRemote:")), "no way to ask");
  EXPECT_EQ(sandbox.git("r", {"remote"}), "origin");
}

TEST_F(RemoteActionsTest, DeletesARemoteAfterAsking) {
  answer({"no", "yes"});
  expectCancelled(run(request("deleteRemotes:", "origin", 0)));
  expectDone(run(request("deleteRemotes:", "origin", 0)));
  EXPECT_EQ(sandbox.git("r", {"remote"}), "");
}

TEST_F(RemoteActionsTest, AnotherRemoteInItsPlaceIsLeftAlone) {
  answer({"yes"});
  expectFailed(run(request("deleteRemotes:", "upstream", 0)), "changed");
  EXPECT_EQ(sandbox.git("r", {"remote"}), "origin");
}

TEST_F(RemoteActionsTest, FetchesOneRemoteOrAll) {
  commitFar("main");
  expectDone(run(request("fetch:", "origin", 0)));
  EXPECT_EQ(oid("r", "origin/main"), oid("far", "main"));
  commitFar("topic/x");
  expectDone(run(request("fetch:", "Fetch All Remotes", -1)));
  EXPECT_EQ(oid("r", "origin/topic/x"), oid("far", "topic/x"));
}

TEST_F(RemoteActionsTest, AFetchThatFailsIsToldInGitsWords) {
  sandbox.remove("far");
  expectFailed(run(request("fetch:", "origin", 0)), "does not appear to be a git repository");
}

TEST_F(RemoteActionsTest, PrunesWhatIsGoneFromOneRemoteOrAll) {
  sandbox.git("far", {"branch", "-q", "-D", "topic/x"});
  expectDone(run(request("prune:", "origin", 0)));
  EXPECT_FALSE(has("r", "refs/remotes/origin/topic/x"));
  sandbox.git("r", {"update-ref", "refs/remotes/origin/gone", "main"});
  expectDone(run(request("prune:", "Prune All Remotes", -1)));
  EXPECT_FALSE(has("r", "refs/remotes/origin/gone"));
}

TEST_F(RemoteActionsTest, PullsTheChosenBranch) {
  commitFar("main");
  sandbox.write("r/sub/b", "mine\n");
  sandbox.commitAll("r", "mine");
  expectDone(runOn("pull:", "refs/remotes/origin/main"));
  EXPECT_TRUE(sandbox.exists("r/far"));
  EXPECT_EQ(sandbox.git("r", {"rev-list", "--count", "--merges", "HEAD"}), "1");
}

TEST_F(RemoteActionsTest, PullsAsTheUserHasSaid) {
  commitFar("main");
  sandbox.git("r", {"config", "pull.rebase", "true"});
  sandbox.write("r/sub/b", "mine\n");
  sandbox.commitAll("r", "mine");
  expectDone(runOn("pull:", "refs/remotes/origin/main"));
  EXPECT_EQ(sandbox.git("r", {"rev-list", "--count", "--merges", "HEAD"}), "0");
}

TEST_F(RemoteActionsTest, APullThatMayOnlyGoForwardRefusesToMerge) {
  commitFar("main");
  sandbox.git("r", {"config", "pull.ff", "only"});
  sandbox.git("r", {"config", "pull.rebase", "true"});
  sandbox.write("r/sub/b", "mine\n");
  sandbox.commitAll("r", "mine");
  const std::string before = oid("r", "HEAD");
  expectFailed(runOn("pull:", "refs/remotes/origin/main"), "fast-forward");
  EXPECT_EQ(oid("r", "HEAD"), before);
}

TEST_F(RemoteActionsTest, APullSaysInItsMergeWhereItComesFrom) {
  commitFar("main");
  sandbox.write("r/sub/b", "mine\n");
  sandbox.commitAll("r", "mine");
  expectDone(runOn("pull:", "refs/remotes/origin/main"));
  EXPECT_EQ(sandbox.git("r", {"log", "-1", "--format=%s"}),
            "Merge branch 'main' of " + sandbox.path("far"));
  EXPECT_TRUE(sandbox.git("r", {"reflog", "-1", "--format=%gs"}).starts_with("pull "));
}

TEST_F(RemoteActionsTest, APullThatRebasesDoesNotBringBackWhatWasTakenAwayThere) {
  commitFar("main");
  sandbox.git("r", {"config", "pull.rebase", "true"});
  expectDone(runOn("pull:", "refs/remotes/origin/main"));
  sandbox.write("r/sub/b", "mine\n");
  sandbox.commitAll("r", "mine");
  // Another commit takes the place of the one that was pulled.
  sandbox.git("r", {"push", "-q", "--force", "origin", "HEAD~2:refs/heads/main"});
  sandbox.git("r", {"update-ref", "refs/remotes/origin/main", "HEAD~1"});
  expectDone(runOn("pull:", "refs/remotes/origin/main"));
  EXPECT_EQ(sandbox.git("r", {"rev-list", "--count", "HEAD"}), "2");
}

TEST_F(RemoteActionsTest, PushesABranchToWhereItComesFrom) {
  sandbox.git("r", {"branch", "-q", "-m", "main", "local"});
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "second");
  expectDone(runOn("push:", "refs/heads/local"));
  EXPECT_EQ(oid("far", "main"), oid("r", "local"));
  EXPECT_FALSE(has("far", "refs/heads/local"));
}

TEST_F(RemoteActionsTest, PushesANewBranchUnderItsNameAndTracksIt) {
  sandbox.git("r", {"branch", "--no-track", "new/y"});
  expectDone(runOn("push:", "refs/heads/new/y"));
  EXPECT_TRUE(has("far", "refs/heads/new/y"));
  EXPECT_EQ(sandbox.git("r", {"rev-parse", "--symbolic-full-name", "new/y@{u}"}),
            "refs/remotes/origin/new/y");
}

TEST_F(RemoteActionsTest, PushesATagOfTheNameOfABranch) {
  sandbox.git("r", {"tag", "main"});
  expectDone(runOn("push:", "refs/tags/main"));
  EXPECT_TRUE(has("far", "refs/tags/main"));
}

TEST_F(RemoteActionsTest, APushThatIsRejectedIsNeverForced) {
  commitFar("main");
  sandbox.write("r/a", "two\n");
  sandbox.commitAll("r", "second");
  const std::string before = oid("far", "main");
  expectFailed(runOn("push:", "refs/heads/main"), "rejected");
  EXPECT_EQ(oid("far", "main"), before);
}

TEST_F(RemoteActionsTest, AsksWhereToPushWhenNothingTells) {
  sandbox.git("r", {"remote", "rename", "origin", "one"});
  sandbox.git("r", {"branch", "--unset-upstream", "main"});
  sandbox.git("", {"init", "-q", "--bare", "other"});
  sandbox.git("r", {"remote", "add", "two", sandbox.path("other")});
  answer({"1"});
  expectDone(runOn("push:", "refs/heads/main"));
  EXPECT_TRUE(has("other", "refs/heads/main"));
  sandbox.git("r", {"branch", "--unset-upstream", "main"});
  removeDialogs();
  expectFailed(runOn("push:", "refs/heads/main"), "no way to ask");
}

TEST_F(RemoteActionsTest, DeletesABranchOnTheRemoteAfterAsking) {
  answer({"no"});
  expectCancelled(runOn("deleteRemoteBranches:", "refs/remotes/origin/topic/x"));
  EXPECT_TRUE(has("far", "refs/heads/topic/x"));
  answer({"yes"});
  expectDone(runOn("deleteRemoteBranches:", "refs/remotes/origin/topic/x"));
  EXPECT_FALSE(has("far", "refs/heads/topic/x"));
  EXPECT_TRUE(has("r", "refs/heads/topic/x"));
}

TEST_F(RemoteActionsTest, ABranchThatHasMovedOnTheRemoteIsNotDeletedOrRenamed) {
  commitFar("topic/x");
  answer({"yes"});
  expectFailed(runOn("deleteRemoteBranches:", "refs/remotes/origin/topic/x"), "stale info");
  answer({"new"});
  expectFailed(runOn("renameRemoteBranch:", "refs/remotes/origin/topic/x"), "stale info");
  EXPECT_TRUE(has("far", "refs/heads/topic/x"));
  EXPECT_FALSE(has("far", "refs/heads/new"));
}

TEST_F(RemoteActionsTest, RenamesABranchOnTheRemote) {
  answer({"topic/y"});
  expectDone(runOn("renameRemoteBranch:", "refs/remotes/origin/topic/x"));
  EXPECT_FALSE(has("far", "refs/heads/topic/x"));
  EXPECT_TRUE(has("far", "refs/heads/topic/y"));
  EXPECT_NE(asked().find("--entry-text=topic/x\n"), std::string::npos);
}

TEST_F(RemoteActionsTest, RenamingOverAnotherBranchIsRefused) {
  answer({"main"});
  expectFailed(runOn("renameRemoteBranch:", "refs/remotes/origin/topic/x"), "already");
  sandbox.git("far", {"branch", "unseen", "main"});
  commitFar("unseen");
  answer({"unseen"});
  expectFailed(runOn("renameRemoteBranch:", "refs/remotes/origin/topic/x"), "stale info");
  EXPECT_TRUE(has("far", "refs/heads/topic/x"));
  answer({"a..b"});
  expectFailed(runOn("renameRemoteBranch:", "refs/remotes/origin/topic/x"), "no name");
}

TEST_F(RemoteActionsTest, ABranchWhoseNameThereCannotBeToldIsLeftAlone) {
  sandbox.git("r", {"config", "remote.origin.fetch", "+refs/heads/main:refs/remotes/origin/main"});
  answer({"yes"});
  expectFailed(runOn("deleteRemoteBranches:", "refs/remotes/origin/topic/x"), "cannot be told");
  EXPECT_TRUE(has("far", "refs/heads/topic/x"));
}

TEST_F(RemoteActionsTest, PushWithoutRemotesSaysSo) {
  sandbox.git("r", {"remote", "remove", "origin"});
  expectFailed(runOn("push:", "refs/heads/main"), "no remote");
}

}  // namespace
}  // namespace kelpie::agent
