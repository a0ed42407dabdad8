#include "agent/actions/IncomingFiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/actions/ActionFixture.h"
#include "agent/git/AnsweringGit.h"

namespace kelpie::agent {
namespace {

// "x.o" is ignored, and there; the branch "topic" has a file of that name.
class IncomingFilesTest : public ActionFixture {
 protected:
  static constexpr const char* kMine = "hours of work\n";

  void SetUp() override {
    ActionFixture::SetUp();
    sandbox.write("r/.git/info/exclude", "*.o\nbuild/\n");
    sandbox.git("r", {"branch", "topic"});
    commitOn("topic", {"x.o"});
    sandbox.write("r/x.o", kMine);
  }
  // A commit with these files, which are ignored elsewhere, on top of the branch; "main" is checked
  // out again then.
  void commitOn(const std::string& branch, const std::vector<std::string>& files) const {
    sandbox.git("r", {"checkout", "-q", branch});
    for (const std::string& file : files) {
      sandbox.write("r/" + file, "from " + branch + "\n");
      sandbox.git("r", {"--literal-pathspecs", "add", "-f", "--", file});
    }
    sandbox.git("r", {"commit", "-q", "-m", "on " + branch});
    sandbox.git("r", {"checkout", "-q", "main"});
  }
  // So that "main" and "topic" have both gone on.
  void diverge() const {
    sandbox.write("r/own", "main\n");
    sandbox.git("r", {"add", "own"});
    sandbox.git("r", {"commit", "-q", "-m", "own"});
  }
  // "origin", whose branch "main" is the "topic" of here.
  void addOrigin() {
    addRemote();
    sandbox.git("r", {"push", "-q", "origin", "topic:main"});
  }
  std::string head() const { return sandbox.git("r", {"rev-parse", "HEAD"}); }
  bool wasAsked(std::string_view words) const { return asked().find(words) != std::string::npos; }

  // The action leaves everything as it is when the user says no, and can be undone after a yes.
  void expectCareful(const std::function<ActionOutcome()>& act, const std::string& file = "x.o") {
    const std::string before = head();
    answer({"no"});
    expectCancelled(act());
    EXPECT_EQ(sandbox.read("r/" + file), kMine);
    EXPECT_EQ(head(), before);
    EXPECT_TRUE(wasAsked("1 file(s) that git ignores are in the way")) << asked();
    EXPECT_TRUE(wasAsked("\"" + file + "\"")) << asked();

    answer({"yes"});
    expectDone(act());
    EXPECT_EQ(sandbox.git("r", {"show", "refs/kelpie/kept/main/00000001:files/" + file}) + "\n",
              kMine);
    EXPECT_NE(sandbox.sh("cat r/" + file + " 2>&1 || true") + "\n", kMine);
  }
  // The way back, where nothing else has taken the file's place.
  void expectUndone() {
    answer({"yes"});
    expectDone(run(request("undoDiscard:")));
    EXPECT_EQ(sandbox.read("r/x.o"), kMine);
  }
};

TEST_F(IncomingFilesTest, Checkout) {
  expectCareful([this] { return runOn("checkout:", "refs/heads/topic"); });
  expectUndone();
}

TEST_F(IncomingFilesTest, AMergeThatIsAFastForward) {
  expectCareful([this] { return runOn("merge:", "refs/heads/topic"); });
  expectUndone();
}

TEST_F(IncomingFilesTest, AMergeOfTwoHistories) {
  diverge();
  expectCareful([this] { return runOn("merge:", "refs/heads/topic"); });
  expectUndone();
}

TEST_F(IncomingFilesTest, FastForwardOfTheHeadBranch) {
  sandbox.git("r", {"branch", "-q", "--set-upstream-to=topic"});
  expectCareful([this] { return runOn("fastForward:", "refs/heads/main"); });
  expectUndone();
}

TEST_F(IncomingFilesTest, Rebase) {
  diverge();
  expectCareful([this] { return runOn("rebase:", "refs/heads/topic"); });
  expectUndone();
}

TEST_F(IncomingFilesTest, ARebaseAlsoOverWhatOnlyACommitOnTheWayHas) {
  sandbox.remove("r/x.o");
  sandbox.git("r", {"branch", "other"});
  commitOn("main", {"z.o"});
  sandbox.git("r", {"rm", "-q", "z.o"});
  sandbox.git("r", {"commit", "-q", "-m", "away"});
  commitOn("other", {"own"});
  sandbox.write("r/z.o", kMine);
  answer({"no"});
  expectCancelled(runOn("rebase:", "refs/heads/other"));
  EXPECT_TRUE(wasAsked("\"z.o\"")) << asked();
  EXPECT_EQ(sandbox.read("r/z.o"), kMine);
}

TEST_F(IncomingFilesTest, APullThatMerges) {
  addOrigin();
  diverge();
  expectCareful([this] { return runOn("pull:", "refs/remotes/origin/main"); });
  expectUndone();
}

TEST_F(IncomingFilesTest, APullThatRebases) {
  addOrigin();
  diverge();
  sandbox.git("r", {"config", "pull.rebase", "true"});
  expectCareful([this] { return runOn("pull:", "refs/remotes/origin/main"); });
  expectUndone();
  EXPECT_EQ(sandbox.git("r", {"rev-list", "--count", "--merges", "HEAD"}), "0");
}

TEST_F(IncomingFilesTest, AStash) {
  sandbox.write("r/x.o", "stashed\n");
  sandbox.git("r", {"add", "-f", "x.o"});
  sandbox.git("r", {"stash", "push", "-q", "-m", "words"});
  sandbox.write("r/x.o", kMine);
  expectCareful([this] { return run(request("applyStash:", "On main: words", 0)); });
  expectUndone();
}

TEST_F(IncomingFilesTest, StartingAndFinishingWorkOfGitflow) {
  for (const auto& [key, value] :
       {std::pair{"branch.master", "main"}, std::pair{"branch.develop", "topic"}})
    sandbox.git("r", {"config", std::string("gitflow.") + key, value});
  const std::string before = head();
  answer({"x", "no"});
  expectCancelled(run(request("startGitflowFeature:")));
  EXPECT_TRUE(wasAsked("\"x.o\"")) << asked();
  sandbox.git("r", {"checkout", "-q", "-b", "feature/y"});
  answer({"no"});
  expectCancelled(run(request("finishGitflowFeature:", "feature/y")));
  EXPECT_EQ(sandbox.read("r/x.o"), kMine);
  EXPECT_EQ(head(), before);
}

TEST_F(IncomingFilesTest, AnIgnoredFileWhereAFolderComes) {
  commitOn("topic", {"d.o/inner"});
  sandbox.remove("r/x.o");
  sandbox.write("r/d.o", kMine);
  expectCareful([this] { return runOn("merge:", "refs/heads/topic"); }, "d.o");
}

TEST_F(IncomingFilesTest, IgnoredFilesInAFolderWhereAFileComes) {
  commitOn("topic", {"build"});
  sandbox.remove("r/x.o");
  sandbox.write("r/build/result", kMine);
  expectCareful([this] { return runOn("merge:", "refs/heads/topic"); }, "build/result");
}

TEST_F(IncomingFilesTest, ANewFileThatFollowsAFolderThatWasRenamedHere) {
  sandbox.git("r", {"mv", "sub", "moved"});
  sandbox.git("r", {"commit", "-q", "-m", "moved"});
  commitOn("topic", {"sub/n.o"});
  sandbox.remove("r/x.o");
  sandbox.write("r/moved/n.o", kMine);
  answer({"no"});
  expectCancelled(runOn("merge:", "refs/heads/topic"));
  EXPECT_TRUE(wasAsked("\"moved/n.o\"")) << asked();
  EXPECT_EQ(sandbox.read("r/moved/n.o"), kMine);
}

TEST_F(IncomingFilesTest, WhatComesWhileTheQuestionIsOpenIsAskedAbout) {
  commitOn("topic", {"y.o"});
  sandbox.write("r/x.o", kMine);
  meanwhile("echo new >y.o");
  answer({"yes", "no"});
  expectCancelled(runOn("merge:", "refs/heads/topic"));
  EXPECT_TRUE(wasAsked("have changed since you were asked")) << asked();
  EXPECT_TRUE(wasAsked("\"x.o\", \"y.o\"")) << asked();
  EXPECT_EQ(sandbox.read("r/x.o"), kMine);
  EXPECT_EQ(sandbox.read("r/y.o"), "new\n");
}

TEST_F(IncomingFilesTest, NamesThatLookLikePatternsAndOptions) {
  const std::vector<std::string> names = {":(top)x.o", "-n.o", "*.o", "two\nlines.o", "\"q\".o"};
  commitOn("topic", names);
  sandbox.remove("r/x.o");
  for (const std::string& name : names) sandbox.write("r/" + name, kMine);
  answer({"no"});
  expectCancelled(runOn("merge:", "refs/heads/topic"));
  EXPECT_TRUE(wasAsked("5 file(s) that git ignores")) << asked();
  for (const std::string& name : names) EXPECT_EQ(sandbox.read("r/" + name), kMine) << name;
}

TEST_F(IncomingFilesTest, WithoutAWayToAskNothingIsDone) {
  removeDialogs();
  expectFailed(runOn("merge:", "refs/heads/topic"), "Nothing was done");
  EXPECT_EQ(sandbox.read("r/x.o"), kMine);
}

TEST_F(IncomingFilesTest, UntrackedFilesAreLeftToGitWhichRefuses) {
  sandbox.write("r/.git/info/exclude", "");
  for (const char* action : {"checkout:", "merge:", "rebase:"})
    expectFailed(runOn(action, "refs/heads/topic"), "untracked");
  EXPECT_EQ(sandbox.read("r/x.o"), kMine);
  EXPECT_FALSE(sandbox.exists("asked"));
}

TEST_F(IncomingFilesTest, NothingIsAskedWhereNothingIsInTheWay) {
  sandbox.remove("r/x.o");
  sandbox.write("r/other.o", kMine);
  expectDone(runOn("merge:", "refs/heads/topic"));
  EXPECT_EQ(sandbox.read("r/x.o"), "from topic\n");
  EXPECT_FALSE(sandbox.exists("asked"));
}

TEST_F(IncomingFilesTest, ASubmoduleThatGoesBackToItsCommit) {
  sandbox.setVariable("GIT_ALLOW_PROTOCOL", "file");
  sandbox.remove("r/x.o");
  sandbox.init("m");
  sandbox.write("m/in", "one\n");
  sandbox.commitAll("m", "first");
  sandbox.write("m/x.o", "committed\n");
  sandbox.commitAll("m", "second");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.git("r", {"commit", "-q", "-a", "-m", "submodule"});
  sandbox.git("r/mod", {"checkout", "-q", "HEAD~1"});
  sandbox.write("r/.git/modules/mod/info/exclude", "*.o\n");
  sandbox.write("r/mod/x.o", kMine);
  answer({"no"});
  expectCancelled(runFiles("discard:", {"mod"}));
  EXPECT_TRUE(wasAsked("In submodules, 1 more.")) << asked();
  EXPECT_EQ(sandbox.read("r/mod/x.o"), kMine);
  answer({"yes"});
  expectDone(runFiles("discard:", {"mod"}));
  EXPECT_EQ(sandbox.read("r/mod/x.o"), "committed\n");
  answer({"yes"});
  expectDone(run(request("undoDiscard:"), context("r/mod")));
  EXPECT_EQ(sandbox.read("r/mod/x.o"), kMine);
}

TEST_F(IncomingFilesTest, ASubmoduleThatFollowsACheckout) {
  sandbox.setVariable("GIT_ALLOW_PROTOCOL", "file");
  sandbox.remove("r/x.o");
  sandbox.init("m");
  sandbox.write("m/in", "one\n");
  sandbox.commitAll("m", "first");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.git("r", {"commit", "-q", "-a", "-m", "submodule"});
  sandbox.git("r", {"branch", "next"});
  sandbox.write("r/mod/x.o", "committed\n");
  sandbox.commitAll("r/mod", "second");
  sandbox.git("r", {"checkout", "-q", "next"});
  sandbox.git("r", {"commit", "-q", "-a", "-m", "next"});
  sandbox.git("r", {"config", "submodule.recurse", "true"});
  sandbox.git("r", {"checkout", "-q", "main"});
  sandbox.write("r/.git/modules/mod/info/exclude", "*.o\n");
  sandbox.write("r/mod/x.o", kMine);
  answer({"no"});
  expectCancelled(runOn("checkout:", "refs/heads/next"));
  EXPECT_TRUE(wasAsked("\"x.o\"")) << asked();
  EXPECT_EQ(sandbox.read("r/mod/x.o"), kMine);
}

TEST(IncomingFilesAnswers, ADifferenceThatLacksFieldsIsRefused) {
  const IncomingFiles::Source source{{{"HEAD", "topic"}}, {}};
  const auto entries = [&](const std::string& facts) {
    return IncomingFiles::entriesOf(answeringGit("/r", {facts + '\0' + "f" + '\0'}), source);
  };
  const auto sound = entries(":000000 100644 0a 1b A");
  ASSERT_TRUE(sound);
  EXPECT_EQ(sound->at("f"), (TreeEntry{"100644", "1b"}));
  EXPECT_FALSE(IncomingFiles::entriesOf(
      answeringGit("/r", {std::string(":000000 100644 0a 1b A") + '\0' + '\0'}), source))
      << "an entry without a path";
  for (const char* facts : {":", ":0", ":0 1", ":0 1 2", ":0 1 2 3", "0 1 2 3 A"})
    EXPECT_FALSE(entries(facts)) << facts;
}

}  // namespace
}  // namespace kelpie::agent
