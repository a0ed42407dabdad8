#include "agent/git/WorkingCopyFinder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

class WorkingCopyFinderTest : public testing::Test {
 protected:
  WorkingCopyFinder::Finding find(std::string_view folder) const {
    return WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path(folder));
  }

  void expectFound(std::string_view folder, const WorkingCopy& want) const {
    const WorkingCopyFinder::Finding finding = find(folder);
    ASSERT_TRUE(finding.workingCopy) << folder << ": " << finding.failure;
    EXPECT_EQ(finding.workingCopy->root, want.root);
    EXPECT_EQ(finding.workingCopy->gitDirectory, want.gitDirectory);
    EXPECT_EQ(finding.workingCopy->commonDirectory, want.commonDirectory);
    EXPECT_EQ(finding.workingCopy->bare, want.bare);
  }

  WorkingCopy plain(std::string_view folder) const {
    const std::string root = sandbox_.path(folder);
    return {root, root + "/.git", root + "/.git", false};
  }

  GitSandbox sandbox_;
};

TEST_F(WorkingCopyFinderTest, FindsTheRootFromAnyFolderInIt) {
  sandbox_.init("r");
  sandbox_.makeFolder("r/a/b");
  expectFound("r", plain("r"));
  expectFound("r/a/b", plain("r"));
}

TEST_F(WorkingCopyFinderTest, AFolderInsideTheGitDirectoryBelongsToTheWorkingCopy) {
  sandbox_.init("r");
  expectFound("r/.git", plain("r"));
  expectFound("r/.git/refs/heads", plain("r"));
}

TEST_F(WorkingCopyFinderTest, FindsBareRepositories) {
  sandbox_.makeFolder("b.git");
  sandbox_.git("b.git", {"init", "-q", "--bare"});
  const std::string root = sandbox_.path("b.git");
  expectFound("b.git", {root, root, root, true});
  expectFound("b.git/refs", {root, root, root, true});
}

TEST_F(WorkingCopyFinderTest, FindsLinkedWorkingTrees) {
  sandbox_.init("r");
  sandbox_.commitAll("r", "one");
  sandbox_.git("r", {"worktree", "add", "-q", "../linked"});
  sandbox_.makeFolder("linked/sub");
  expectFound("linked/sub", {sandbox_.path("linked"), sandbox_.path("r/.git/worktrees/linked"),
                             sandbox_.path("r/.git"), false});
}

TEST_F(WorkingCopyFinderTest, FindsSubmodules) {
  sandbox_.init("lib");
  sandbox_.commitAll("lib", "one");
  sandbox_.init("r");
  sandbox_.git("r", {"submodule", "--quiet", "add", "../lib", "deps/lib"});
  const std::string git = sandbox_.path("r/.git/modules/deps/lib");
  expectFound("r/deps/lib", {sandbox_.path("r/deps/lib"), git, git, false});
  expectFound("r/deps", plain("r"));
}

TEST_F(WorkingCopyFinderTest, TheInnermostOfNestedRepositoriesIsFound) {
  sandbox_.init("outer");
  sandbox_.init("outer/inner");
  expectFound("outer/inner", plain("outer/inner"));
}

TEST_F(WorkingCopyFinderTest, NamesWithOddCharactersAreTakenAsTheyAre) {
  for (const char* name : {"with space", "line\nend\n", "\xff\xfe", "-dash"}) {
    sandbox_.init(name);
    expectFound(name, plain(name));
  }
}

TEST_F(WorkingCopyFinderTest, AFolderInNoRepositoryIsNoFailure) {
  sandbox_.makeFolder("plain/folder");
  const WorkingCopyFinder::Finding finding = find("plain/folder");
  EXPECT_FALSE(finding.workingCopy);
  EXPECT_EQ(finding.failure, "");
  EXPECT_FALSE(WorkingCopyFinder::candidate(sandbox_.path("plain/folder")));
}

TEST_F(WorkingCopyFinderTest, AFolderThatIsGoneIsNoFailure) {
  const WorkingCopyFinder::Finding finding = find("gone");
  EXPECT_FALSE(finding.workingCopy);
  EXPECT_EQ(finding.failure, "");
}

TEST_F(WorkingCopyFinderTest, ABrokenRepositoryTellsGitsWords) {
  sandbox_.makeFolder("r");
  sandbox_.write("r/.git", "gitdir: /no/such/place\n");
  EXPECT_FALSE(find("r").workingCopy);
  sandbox_.init("s");
  sandbox_.write("s/.git/config", "[core\n");
  const WorkingCopyFinder::Finding finding = find("s");
  EXPECT_FALSE(finding.workingCopy);
  EXPECT_NE(finding.failure.find("config"), std::string::npos) << finding.failure;
}

TEST_F(WorkingCopyFinderTest, NoGitIsRunWhereItWouldWaitForAPipe) {
  for (const char* name :
       {".gitattributes", ".gitignore", ".gitmodules", ".git/config", ".git/HEAD", ".git/index"}) {
    sandbox_.remove("r");
    sandbox_.init("r");
    sandbox_.remove("r/" + std::string(name));
    sandbox_.sh("mkfifo r/" + std::string(name));
    const WorkingCopyFinder::Finding finding = find("r");
    EXPECT_FALSE(finding.workingCopy) << name;
    EXPECT_EQ(finding.failure, "its \"" + std::string(name) + "\" is no file.");
  }
}

TEST_F(WorkingCopyFinderTest, VariablesThatNameAnotherRepositoryDoNotCount) {
  sandbox_.init("r");
  sandbox_.init("other");
  sandbox_.setVariable("GIT_DIR", sandbox_.path("other/.git"));
  sandbox_.setVariable("GIT_WORK_TREE", sandbox_.path("other"));
  expectFound("r", plain("r"));
}

// -- Work trees elsewhere -------------------------------------------------------------------------

TEST_F(WorkingCopyFinderTest, AWorkTreeElsewhereIsNotFound) {
  for (const char* where : {"..", "../..", "../sub", "/"}) {
    SCOPED_TRACE(where);
    sandbox_.remove("out");
    sandbox_.init("out/r");
    sandbox_.makeFolder("out/r/sub");
    sandbox_.git("out/r", {"config", "core.worktree", where});
    const bool isItself = std::string_view(where) == "..";
    for (const char* folder : {"out/r", "out/r/sub", "out/r/.git"}) {
      const WorkingCopyFinder::Finding finding = find(folder);
      EXPECT_EQ(finding.workingCopy.has_value(), isItself) << folder;
      EXPECT_EQ(finding.isElsewhere, !isItself) << folder;
    }
  }
}

TEST_F(WorkingCopyFinderTest, AFileThatLeadsToTheGitDirectoryOfAnotherFolderIsNotFollowed) {
  sandbox_.init("r");
  sandbox_.commitAll("r", "one");
  sandbox_.git("r", {"worktree", "add", "-q", "../linked"});
  sandbox_.write("copy/.git", "gitdir: " + sandbox_.path("r/.git") + "\n");
  EXPECT_TRUE(find("copy").isElsewhere);
  sandbox_.write("other/.git", sandbox_.read("linked/.git"));
  EXPECT_TRUE(find("other").isElsewhere);
}

TEST_F(WorkingCopyFinderTest, AGitDirectoryMayLieAnywhere) {
  sandbox_.git("", {"init", "-q", "--separate-git-dir=" + sandbox_.path("far.git"), "r"});
  const std::string git = sandbox_.path("far.git");
  expectFound("r", {sandbox_.path("r"), git, git, false});
  sandbox_.init("s");
  std::filesystem::rename(sandbox_.path("s/.git"), sandbox_.path("s.git"));
  std::filesystem::create_directory_symlink("../s.git", sandbox_.path("s/.git"));
  EXPECT_TRUE(find("s").workingCopy) << find("s").failure;
}

TEST_F(WorkingCopyFinderTest, ALinkedWorkingTreeMayHaveOddCharactersInItsName) {
  sandbox_.init("r");
  sandbox_.commitAll("r", "one");
  sandbox_.git("r", {"worktree", "add", "-q", "-b", "b", "../line\nend"});
  EXPECT_TRUE(find("line\nend").workingCopy) << find("line\nend").failure;
}

TEST_F(WorkingCopyFinderTest, AGitDirectoryThatIsItsOwnWorkTreeIsNotFound) {
  sandbox_.makeFolder("b");
  sandbox_.git("b", {"init", "-q", "--bare"});
  sandbox_.git("b", {"config", "core.bare", "false"});
  sandbox_.git("b", {"config", "core.worktree", "."});
  EXPECT_FALSE(find("b").workingCopy);
}

TEST_F(WorkingCopyFinderTest, NoGitSaysSo) {
  sandbox_.init("r");
  const auto finding = WorkingCopyFinder(GitCommand("no-such-git", "/")).find(sandbox_.path("r"));
  EXPECT_FALSE(finding.workingCopy);
  EXPECT_NE(finding.failure.find("no-such-git"), std::string::npos);
}

}  // namespace
}  // namespace kelpie::agent
