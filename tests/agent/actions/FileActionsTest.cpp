#include <gtest/gtest.h>

#include <string>
#include <vector>

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

// More files than git is given as patterns.
class ManyFilesTest : public FileActionsTest {
 protected:
  // The paths of so many new files, and the others.
  std::vector<std::string> manyAnd(std::vector<std::string> others) const {
    for (int i = 0; i < 150; ++i) {
      others.push_back("many/" + std::to_string(i));
      sandbox.write("r/" + others.back(), "x");
    }
    return others;
  }
  // What is staged but for the many.
  std::string staged() const {
    return sandbox.git("r",
                       {"diff", "--cached", "--name-status", "--no-renames", "--", ".", ":!many"});
  }
  std::string stagedCount() const {
    return sandbox.sh("cd r && git diff --cached --name-only -- many | wc -l");
  }
};

TEST_F(ManyFilesTest, AreStagedAsAFewAre) {
  sandbox.write("r/gone", "x");
  sandbox.write("r/folder/x", "x");
  sandbox.commitAll("r", "more");
  sandbox.init("m");
  sandbox.commitAll("m", "one");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.commitAll("r", "submodule");
  sandbox.commitAll("r/mod", "two");
  sandbox.remove("r/gone");
  sandbox.sh("rm -r r/folder && ln -s nowhere r/folder && chmod 755 r/a");
  sandbox.write("r/sub/new", "x");
  sandbox.write("r/sub/not chosen", "x");
  sandbox.write("r/*\n\xFF", "x");
  sandbox.write("r/intended", "x");
  sandbox.git("r", {"add", "-N", "intended"});
  sandbox.write("r/.gitattributes", "*.txt filter=upper\n");
  sandbox.git("r", {"config", "filter.upper.clean", "tr a-z A-Z"});
  sandbox.write("r/filtered.txt", "small");
  sandbox.write("r/tree/one", "x");
  expectDone(runFiles("stage:", manyAnd({"gone", "folder", "a", "sub/new", "*\n\xFF", "intended",
                                         "filtered.txt", "mod", "tree"})));
  EXPECT_EQ(stagedCount(), "150");
  EXPECT_EQ(staged(),
            "A\t\"*\\n\\377\"\nM\ta\nA\tfiltered.txt\nA\tfolder\nD\tfolder/x\nD\tgone\n"
            "A\tintended\nM\tmod\nA\tsub/new\nA\ttree/one");
  EXPECT_EQ(sandbox.git("r", {"show", ":filtered.txt"}), "SMALL");
}

TEST_F(ManyFilesTest, AreRefusedWithAnIgnoredOneAmongThem) {
  sandbox.write("r/.git/info/exclude", "*.o\n");
  sandbox.write("r/:(top)x.o", "x");
  expectFailed(runFiles("stage:", manyAnd({":(top)x.o"})), "\":(top)x.o\" is ignored");
  EXPECT_EQ(stagedCount(), "0");
}

TEST_F(ManyFilesTest, AreRefusedWithAMissingOneAmongThem) {
  expectFailed(runFiles("stage:", manyAnd({"missing"})), "\"missing\" is not there");
  EXPECT_EQ(stagedCount(), "0");
}

TEST_F(ManyFilesTest, AreRefusedWithOneOfASubmoduleAmongThem) {
  sandbox.init("m");
  sandbox.commitAll("m", "one");
  sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("m"), "mod"});
  sandbox.commitAll("r", "submodule");
  sandbox.write("r/mod/deep/x", "x");
  expectFailed(runFiles("stage:", manyAnd({"mod/deep/x"})), "in a repository of its own");
  EXPECT_EQ(stagedCount(), "0");
}

// git tries each of its pathspecs on every file, and "check-ignore" looks for each path through the
// whole index.
TEST_F(ManyFilesTest, AreNotGivenToCommandsThatTakeTheSquareOfTheirNumber) {
  sandbox.writeScript("bin/git",
                      "echo \"$*\" >> \"$KELPIE_SANDBOX/gits\"\nexec /usr/bin/git \"$@\"\n");
  const std::vector<std::string> paths = manyAnd({});
  expectDone(runFiles("stage:", paths));
  expectDone(runFiles("unstage:", paths));
  const std::string gits = sandbox.read("gits");
  EXPECT_EQ(gits.find("pathspec-from-file"), std::string::npos) << gits;
  EXPECT_NE(gits.find("check-ignore --no-index"), std::string::npos) << gits;
}

TEST_F(ManyFilesTest, AConflictAmongThemIsResolved) {
  makeConflict();
  sandbox.write("r/a", "both\n");
  expectDone(runFiles("stage:", manyAnd({"a"})));
  EXPECT_EQ(sandbox.git("r", {"ls-files", "--unmerged"}), "");
}

TEST_F(ManyFilesTest, AreUnstagedAsAFewAre) {
  sandbox.write("r/a", "two\n");
  sandbox.remove("r/sub/b");
  sandbox.write("r/other", "x");
  const std::vector<std::string> paths = manyAnd({"a", "sub"});
  sandbox.git("r", {"add", "-A"});
  expectDone(runFiles("unstage:", paths));
  EXPECT_EQ(staged(), "A\tother");
  EXPECT_EQ(stagedCount(), "0");
  EXPECT_EQ(sandbox.read("r/a"), "two\n");
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
