#include "agent/git/RepositoryState.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

TEST(RepositoryState, IsToldByTheFilesInTheGitDirectory) {
  struct Case {
    std::vector<std::string> files;
    int want;
  };
  const Case cases[] = {
      {{"HEAD", "ORIG_HEAD"}, 0},
      {{"MERGE_HEAD"}, 1},
      {{"REVERT_HEAD"}, 2},
      {{"REVERT_HEAD", "sequencer/todo"}, 3},
      {{"CHERRY_PICK_HEAD"}, 4},
      {{"CHERRY_PICK_HEAD", "sequencer/todo"}, 5},
      {{"BISECT_LOG"}, 6},
      {{"rebase-apply/rebasing"}, 7},
      {{"rebase-merge/interactive"}, 8},
      {{"rebase-merge/done"}, 9},
      {{"rebase-apply/applying"}, 10},
      {{"rebase-apply/next"}, 11},
      {{"rebase-merge/interactive", "CHERRY_PICK_HEAD"}, 8},
      {{"MERGE_HEAD", "BISECT_LOG"}, 1},
  };
  for (const Case& c : cases) {
    const GitSandbox sandbox;
    sandbox.makeFolder("git");
    for (const std::string& file : c.files) sandbox.write("git/" + file, "");
    EXPECT_EQ(static_cast<int>(repositoryState(sandbox.path("git"))), c.want) << c.files.back();
  }
}

TEST(RepositoryState, OfAMergeThatStopped) {
  const GitSandbox sandbox;
  sandbox.init("r");
  sandbox.write("r/a", "1\n");
  sandbox.commitAll("r", "one");
  sandbox.git("r", {"checkout", "-q", "-b", "other"});
  sandbox.write("r/a", "2\n");
  sandbox.commitAll("r", "two");
  sandbox.git("r", {"checkout", "-q", "main"});
  sandbox.write("r/a", "3\n");
  sandbox.commitAll("r", "three");
  EXPECT_EQ(repositoryState(sandbox.path("r/.git")), RepositoryState::None);
  EXPECT_FALSE(sandbox.tryGit("r", {"merge", "-q", "other"}).succeeded());
  EXPECT_EQ(repositoryState(sandbox.path("r/.git")), RepositoryState::Merge);
  sandbox.git("r", {"merge", "--abort"});
  EXPECT_FALSE(sandbox.tryGit("r", {"rebase", "-q", "other"}).succeeded());
  EXPECT_EQ(repositoryState(sandbox.path("r/.git")), RepositoryState::RebaseInteractive);
}

}  // namespace
}  // namespace kelpie::agent
