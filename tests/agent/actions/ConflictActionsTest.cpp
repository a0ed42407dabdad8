#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

constexpr std::int64_t kPlain = 0;
constexpr std::int64_t kOurs = 1;
constexpr std::int64_t kTheirs = 2;
constexpr std::int64_t kAncestor = 3;
constexpr std::int64_t kDetails = 5;

// Conflicts of every kind: "a" changed on both sides, "gone here" and "gone there" deleted on one,
// "new" added on both.
class ConflictActionsTest : public ActionFixture {
 protected:
  void SetUp() override {
    ActionFixture::SetUp();
    sandbox.write("r/gone here", "one\n");
    sandbox.write("r/gone there", "one\n");
    sandbox.commitAll("r", "base");
    side("other", "theirs\n", "gone there", "gone here");
    sandbox.git("r", {"checkout", "-q", "main"});
    side("", "ours\n", "gone here", "gone there");
    EXPECT_FALSE(sandbox.tryGit("r", {"merge", "-q", "other"}).succeeded());
    EXPECT_EQ(conflicts(), "UU a\nDU \"gone here\"\nUD \"gone there\"\nAA new");
  }

  void side(const std::string& branch, std::string_view content, const std::string& removed,
            const std::string& changed) const {
    if (!branch.empty()) sandbox.git("r", {"checkout", "-q", "-b", branch});
    for (const std::string& name : {std::string("a"), std::string("new"), changed})
      sandbox.write("r/" + name, content);
    sandbox.remove("r/" + removed);
    sandbox.commitAll("r", "side");
  }

  std::string conflicts() const { return status(); }

  const std::vector<std::string> all_ = {"a", "gone here", "gone there", "new"};
};

TEST_F(ConflictActionsTest, MarkAsResolvedTakesWhatTheWorkingFolderHas) {
  sandbox.write("r/a", "both\n");
  sandbox.remove("r/gone here");
  expectDone(runFiles("resolve:", {"a", "gone here", "gone there"}, kPlain));
  EXPECT_EQ(conflicts(), "M  a\nAA new");
  EXPECT_TRUE(sandbox.exists("r/gone there"));
  EXPECT_EQ(asked(), "");
}

TEST_F(ConflictActionsTest, MarkAsResolvedAsksWhereTheMarksOfTheConflictAreLeft) {
  answer({"no", "yes"});
  expectCancelled(runFiles("resolve:", {"a", "gone here"}, kPlain));
  EXPECT_NE(asked().find("1 file(s) still hold the marks of the conflict, such as \"a\""),
            std::string::npos);
  EXPECT_EQ(conflicts(), "UU a\nDU \"gone here\"\nUD \"gone there\"\nAA new");
  expectDone(runFiles("resolve:", {"a", "gone here"}, kPlain));
  EXPECT_EQ(conflicts(), "M  a\nA  \"gone here\"\nUD \"gone there\"\nAA new");
}

TEST_F(ConflictActionsTest, MarkAsResolvedAsksAgainWhereMarksCameMeanwhile) {
  sandbox.write("r/new", "by hand\n");
  meanwhile("printf '<<<<<<< x\\n' > new");
  answer({"yes", "no"});
  expectCancelled(runFiles("resolve:", {"a", "new"}, kPlain));
  EXPECT_NE(asked().find("2 file(s) still hold"), std::string::npos);
  EXPECT_EQ(conflicts(), "UU a\nDU \"gone here\"\nUD \"gone there\"\nAA new");
}

TEST_F(ConflictActionsTest, MarkAsResolvedOfAFolderTakesTheConflictsOnly) {
  sandbox.write("r/untracked", "x");
  sandbox.write("r/sub/b", "changed\n");
  answer({"yes"});
  expectDone(runFiles("resolve:", {sandbox.path("r")}, kPlain));
  EXPECT_EQ(conflicts(), "M  a\nA  \"gone here\"\nM  new\n M sub/b\n?? untracked");
}

TEST_F(ConflictActionsTest, WhatAVersionReplacesCanBeHadBack) {
  sandbox.write("r/a", "half done by hand\n");
  answer({"yes"});
  expectDone(runFiles("resolve:", {"a"}, kTheirs));
  EXPECT_EQ(sandbox.read("r/a"), "theirs\n");
  expectDone(run(request("undoDiscard:")));
  EXPECT_EQ(sandbox.read("r/a"), "half done by hand\n");
  EXPECT_EQ(conflicts(), "UU a\nDU \"gone here\"\nUD \"gone there\"\nAA new");
}

TEST_F(ConflictActionsTest, ResolveUsingOurs) {
  answer({"yes"});
  expectDone(runFiles("resolve:", all_, kOurs));
  EXPECT_EQ(conflicts(), "");
  EXPECT_EQ(sandbox.read("r/a"), "ours\n");
  EXPECT_EQ(sandbox.read("r/new"), "ours\n");
  EXPECT_FALSE(sandbox.exists("r/gone here"));
  EXPECT_EQ(sandbox.read("r/gone there"), "ours\n");
}

TEST_F(ConflictActionsTest, ResolveUsingTheirs) {
  answer({"yes"});
  expectDone(runFiles("resolve:", all_, kTheirs));
  EXPECT_EQ(conflicts(), "M  a\nA  \"gone here\"\nD  \"gone there\"\nM  new");
  EXPECT_EQ(sandbox.read("r/a"), "theirs\n");
  EXPECT_FALSE(sandbox.exists("r/gone there"));
}

TEST_F(ConflictActionsTest, ResolveUsingTheAncestor) {
  answer({"yes"});
  expectDone(runFiles("resolve:", all_, kAncestor));
  EXPECT_EQ(sandbox.read("r/a"), "one\n");
  EXPECT_EQ(sandbox.read("r/gone here"), "one\n");
  EXPECT_FALSE(sandbox.exists("r/new")) << "the ancestor did not have it";
  EXPECT_EQ(sandbox.git("r", {"ls-files", "--unmerged"}), "");
}

TEST_F(ConflictActionsTest, ResolveUsingAVersionAsksFirst) {
  sandbox.write("r/a", "half done by hand\n");
  answer({"no"});
  expectCancelled(runFiles("resolve:", {"a"}, kOurs));
  removeDialogs();
  expectFailed(runFiles("resolve:", {"a"}, kOurs), "no way to ask");
  EXPECT_EQ(sandbox.read("r/a"), "half done by hand\n");
}

TEST_F(ConflictActionsTest, ResolveOfAFolderTakesTheConflictsInIt) {
  answer({"yes"});
  expectDone(runFiles("resolve:", {sandbox.path("r")}, kOurs));
  EXPECT_EQ(conflicts(), "");
}

TEST_F(ConflictActionsTest, ShowDetailsOpensTheMergeToolThatGitIsConfiguredFor) {
  addProgram("viewer", "cat \"$4\" > \"$3\"");
  sandbox.git("r", {"config", "merge.guitool", "mine"});
  sandbox.git("r", {"config", "mergetool.mine.cmd", "viewer $BASE $LOCAL $MERGED $REMOTE"});
  sandbox.git("r", {"config", "mergetool.mine.trustExitCode", "true"});
  expectDone(runFiles("resolve:", {"a"}, kDetails));
  EXPECT_NE(sandbox.read("viewer").find("a\n"), std::string::npos);
  EXPECT_EQ(sandbox.read("r/a"), "theirs\n");
}

TEST_F(ConflictActionsTest, RestoreUnmergedBringsTheMarksBack) {
  const std::string marked = sandbox.read("r/a");
  for (const std::string& path : all_) sandbox.write("r/" + path, "by hand\n");
  answer({"yes"});
  expectDone(runFiles("restore:", all_, kPlain));
  EXPECT_NE(sandbox.read("r/a").find("<<<<<<<"), std::string::npos);
  EXPECT_EQ(sandbox.read("r/gone here"), "theirs\n");
  EXPECT_EQ(sandbox.read("r/gone there"), "ours\n");
  EXPECT_NE(sandbox.read("r/new").find("<<<<<<<"), std::string::npos);
  EXPECT_NE(marked.find("<<<<<<<"), std::string::npos);
}

TEST_F(ConflictActionsTest, RestoreOfAVersionLeavesTheConflictOpen) {
  answer({"yes", "yes", "yes"});
  expectDone(runFiles("restore:", all_, kOurs));
  EXPECT_EQ(sandbox.read("r/a"), "ours\n");
  EXPECT_FALSE(sandbox.exists("r/gone here"));
  expectDone(runFiles("restore:", all_, kTheirs));
  EXPECT_EQ(sandbox.read("r/a"), "theirs\n");
  EXPECT_EQ(sandbox.read("r/gone here"), "theirs\n");
  EXPECT_FALSE(sandbox.exists("r/gone there"));
  expectDone(runFiles("restore:", all_, kAncestor));
  EXPECT_EQ(sandbox.read("r/gone there"), "one\n");
  EXPECT_FALSE(sandbox.exists("r/new"));
  EXPECT_EQ(conflicts(), "UU a\nDU \"gone here\"\nUD \"gone there\"\nAA new");
}

TEST_F(ConflictActionsTest, NoVersionIsWrittenThroughALinkThatCameInThePlaceOfAFolder) {
  sandbox.sh(
      "cd r && oid=$(echo evil | git hash-object -w --stdin) && "
      "printf '100644 %s 2\\td/f\\n100644 %s 3\\td/f\\n' $oid $oid | git update-index "
      "--index-info");
  sandbox.write("outside/f", "precious\n");
  sandbox.sh("ln -s ../outside r/d");
  for (const char* action : {"restore:", "resolve:"})
    for (const std::int64_t version : {kPlain, kOurs, kTheirs}) {
      if (std::string_view(action) == "resolve:" && version == kPlain) continue;
      answer({"yes", "yes"});
      expectFailed(runFiles(action, {sandbox.path("r")}, version), "\"d\" is in its way");
      EXPECT_EQ(sandbox.read("outside/f"), "precious\n") << action << version;
      EXPECT_EQ(sandbox.sh("readlink r/d"), "../outside") << action << version;
    }
}

TEST_F(ConflictActionsTest, RestoreAsksFirst) {
  sandbox.write("r/a", "by hand\n");
  answer({"no"});
  expectCancelled(runFiles("restore:", {"a"}, kPlain));
  EXPECT_EQ(sandbox.read("r/a"), "by hand\n");
}

TEST_F(ConflictActionsTest, WhatIsNoConflictAnyMoreIsLeftAlone) {
  expectFailed(runFiles("resolve:", {"sub/b"}, kOurs), "no conflict");
  expectFailed(runFiles("restore:", {"sub/b"}, kPlain), "no conflict");
  EXPECT_EQ(asked(), "");
}

TEST_F(ConflictActionsTest, ATagOfNoEntryIsRefused) {
  for (const std::int64_t tag : {-1, 4, 6}) {
    expectFailed(runFiles("resolve:", {"a"}, tag), "no such way");
    expectFailed(runFiles("restore:", {"a"}, tag), "no such way");
  }
  EXPECT_EQ(conflicts(), "UU a\nDU \"gone here\"\nUD \"gone there\"\nAA new");
}

}  // namespace
}  // namespace kelpie::agent
