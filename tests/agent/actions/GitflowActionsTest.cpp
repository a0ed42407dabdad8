#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class GitflowActionsTest : public ActionFixture {
 protected:
  void SetUp() override {
    ActionFixture::SetUp();
    sandbox.git("r", {"branch", "develop"});
    for (const auto& [key, value] :
         {std::pair{"branch.master", "main"}, std::pair{"branch.develop", "develop"},
          std::pair{"prefix.versiontag", "v"}})
      sandbox.git("r", {"config", std::string("gitflow.") + key, value});
  }
  std::string head() const { return sandbox.git("r", {"symbolic-ref", "--short", "HEAD"}); }
  std::string branches() const {
    return sandbox.git("r", {"for-each-ref", "--format=%(refname:short)", "refs/heads"});
  }
  // A branch of git-flow with a commit of its own, checked out.
  void work(const std::string& branch, const std::string& from) const {
    sandbox.git("r", {"checkout", "-q", "-b", branch, from});
    sandbox.write("r/work", branch);
    sandbox.commitAll("r", "work");
  }
  bool isIn(const std::string& what, const std::string& branch) const {
    return sandbox.tryGit("r", {"merge-base", "--is-ancestor", what, branch}).succeeded();
  }
};

TEST_F(GitflowActionsTest, StartsWorkFromTheBranchItBelongsTo) {
  sandbox.write("r/a", "two\n");
  sandbox.git("r", {"checkout", "-q", "develop"});
  sandbox.commitAll("r", "on develop");
  struct Case {
    const char* action;
    const char* branch;
    const char* from;
  };
  for (const Case& each : {Case{"startGitflowFeature:", "feature/x", "develop"},
                           Case{"startGitflowRelease:", "release/x", "develop"},
                           Case{"startGitflowHotfix:", "hotfix/x", "main"}}) {
    answer({"x"});
    expectDone(run(request(each.action)));
    EXPECT_EQ(head(), each.branch);
    EXPECT_EQ(sandbox.git("r", {"rev-parse", "HEAD"}), sandbox.git("r", {"rev-parse", each.from}));
  }
}

TEST_F(GitflowActionsTest, NamesThatAreNoneAreRefused) {
  for (const char* name : {"-f", "a..b", "a b"}) {
    answer({name});
    expectFailed(run(request("startGitflowFeature:")), "is no name");
  }
  answer({"no"});
  expectCancelled(run(request("startGitflowFeature:")));
  EXPECT_EQ(branches(), "develop\nmain");
}

TEST_F(GitflowActionsTest, FinishesAFeatureIntoDevelop) {
  work("feature/x", "develop");
  const std::string commit = sandbox.git("r", {"rev-parse", "HEAD"});
  expectDone(run(request("finishGitflowFeature:", "feature/x", 0)));
  EXPECT_EQ(head(), "develop");
  EXPECT_TRUE(isIn(commit, "develop"));
  EXPECT_FALSE(isIn(commit, "main"));
  EXPECT_EQ(branches(), "develop\nmain");
}

TEST_F(GitflowActionsTest, FinishesAReleaseAndAHotfixIntoBothWithATag) {
  work("release/1", "develop");
  expectDone(run(request("finishGitflowRelease:", "release/1", 0)));
  work("hotfix/2", "main");
  expectDone(run(request("finishGitflowHotfix:", "hotfix/2", 0)));
  EXPECT_EQ(sandbox.git("r", {"tag"}), "v1\nv2");
  for (const char* tag : {"v1", "v2"}) {
    EXPECT_TRUE(isIn(tag, "main"));
    EXPECT_TRUE(isIn(std::string(tag) + "^2", "develop"));
  }
  EXPECT_EQ(branches(), "develop\nmain");
}

TEST_F(GitflowActionsTest, FinishingGoesOnAfterAConflict) {
  work("release/1", "develop");
  sandbox.git("r", {"checkout", "-q", "develop"});
  sandbox.write("r/work", "other");
  sandbox.commitAll("r", "other");
  EXPECT_EQ(run(request("finishGitflowRelease:", "release/1", 0)).end, ActionOutcome::End::Failed);
  EXPECT_EQ(status(), "AA work");
  sandbox.write("r/work", "both");
  sandbox.git("r", {"commit", "-q", "-a", "-m", "resolved"});
  expectDone(run(request("finishGitflowRelease:", "release/1", 0)));
  EXPECT_EQ(branches(), "develop\nmain");
  EXPECT_EQ(sandbox.git("r", {"tag"}), "v1");
}

TEST_F(GitflowActionsTest, FinishingWithOpenChangesIsRefused) {
  work("feature/x", "develop");
  sandbox.write("r/a", "open\n");
  expectFailed(run(request("finishGitflowFeature:", "feature/x", 0)), "not committed");
  EXPECT_EQ(head(), "feature/x");
}

TEST_F(GitflowActionsTest, ABranchThatIsNotThereAnyMoreIsSaidSo) {
  work("feature/x", "develop");
  expectFailed(run(request("finishGitflowFeature:", "feature/y", 0)), "changed");
  expectFailed(run(request("finishGitflowRelease:", "feature/x", 0)), "changed");
}

TEST_F(GitflowActionsTest, TheProgramDoesItWhereItIsInstalled) {
  addProgram("git-flow");
  work("release/1", "develop");
  answer({"x"});
  expectDone(run(request("startGitflowFeature:")));
  expectDone(run(request("finishGitflowRelease:", "release/1", 0)));
  const std::string calls = sandbox.read("git-flow");
  EXPECT_NE(calls.find("feature\nstart\nx\n"), std::string::npos);
  EXPECT_NE(calls.find("release\nfinish\n-m\n1\n1\n"), std::string::npos);
  EXPECT_EQ(branches(), "develop\nmain\nrelease/1");
}

TEST_F(GitflowActionsTest, WithoutGitflowSettingsNothingStarts) {
  sandbox.git("r", {"config", "--remove-section", "gitflow.branch"});
  answer({"x"});
  expectFailed(run(request("startGitflowFeature:")), "not set up");
}

}  // namespace
}  // namespace kelpie::agent
