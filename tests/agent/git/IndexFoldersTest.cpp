#include "agent/git/IndexFolders.h"

#include <gtest/gtest.h>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

TEST(IndexFoldersTest, TheFoldersOfTrackedFilesAreReadWhenTheIndexHasChanged) {
  const GitSandbox sandbox;
  sandbox.init("r");
  sandbox.write("r/a/b/f", "1\n");
  sandbox.write("r/a/c/f", "1\n");
  sandbox.write("r/top", "1\n");
  sandbox.git("r", {"add", "."});
  sandbox.write("r/untracked/f", "1\n");
  const std::string root = sandbox.path("r");
  IndexFolders folders(GitCommand("git", "/"), {root, root + "/.git", root + "/.git", false});
  EXPECT_EQ(folders.readIfChanged(),
            (std::vector<std::string>{root, root + "/a", root + "/a/b", root + "/a/c"}));
  EXPECT_EQ(folders.readIfChanged(), std::nullopt);
  sandbox.git("r", {"rm", "-q", "--cached", "-r", "a/b"});
  EXPECT_EQ(folders.readIfChanged(), (std::vector<std::string>{root, root + "/a", root + "/a/c"}));
}

TEST(IndexFoldersTest, ARepositoryWithoutAnIndexHasNone) {
  const GitSandbox sandbox;
  sandbox.init("r");
  const std::string root = sandbox.path("r");
  IndexFolders folders(GitCommand("git", "/"), {root, root + "/.git", root + "/.git", false});
  EXPECT_EQ(folders.readIfChanged(), std::nullopt);
}

}  // namespace
}  // namespace kelpie::agent
