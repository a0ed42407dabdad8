#include "agent/git/IndexFolders.h"

#include <gtest/gtest.h>

#include "agent/git/AnsweringGit.h"
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

// An index may name what cannot exist. All folders of such a path, each with its whole path, would
// take all memory there is.
TEST(IndexFoldersTest, OfAPathWithVeryManyFoldersTheOuterOnesAreRead) {
  const GitSandbox sandbox;
  sandbox.init("r");
  sandbox.write("r/.git/index", "DIRC");
  std::string path;
  while (path.size() < 20'000) path += "a/";
  const std::string root = sandbox.path("r");
  IndexFolders folders(answeringGit("/", {"b/c/f" + std::string(1, '\0') + path + "f" + '\0'}),
                       {root, root + "/.git", root + "/.git", false});
  const auto read = folders.readIfChanged();
  ASSERT_TRUE(read);
  EXPECT_EQ(read->size(), 1U + 2U + 128U);
  EXPECT_EQ(read->back(), root + "/b/c");
  EXPECT_EQ(read->at(128), root + "/" + path.substr(0, 2 * 128 - 1));
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
