#include "agent/actions/WorkingFiles.h"

#include <gtest/gtest.h>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

using Kind = WorkingFiles::Kind;

class WorkingFilesTest : public testing::Test {
 protected:
  WorkingFilesTest() {
    sandbox.write("r/folder/file", "x");
    sandbox.write("outside/file", "theirs");
    sandbox.sh("ln -s ../outside r/link && mkfifo r/pipe");
  }

  static std::string folderIn(const GitSandbox& sandbox) {
    sandbox.makeFolder("r");
    return sandbox.path("r");
  }

  GitSandbox sandbox;
  WorkingFiles files{folderIn(sandbox)};
};

TEST_F(WorkingFilesTest, TellsWhatIsThereAndFollowsNoLink) {
  EXPECT_EQ(files.look("folder/file").kind, Kind::File);
  EXPECT_EQ(files.look("folder").kind, Kind::Folder);
  EXPECT_EQ(files.look("link").kind, Kind::Link);
  EXPECT_EQ(files.look("pipe").kind, Kind::Other);
  EXPECT_EQ(files.look("none/at/all").kind, Kind::Missing);
  const WorkingFiles::Presence blocked = files.look("link/file");
  EXPECT_EQ(blocked.kind, Kind::Blocked);
  EXPECT_EQ(blocked.blockedBy, "link");
}

TEST_F(WorkingFilesTest, RemovesAFileAndTheFoldersThatAreEmptyThen) {
  sandbox.write("r/deep/er/file", "x");
  sandbox.write("r/deep/kept", "x");
  EXPECT_EQ(files.remove("deep/er/file", files.look("deep/er/file").print), "");
  EXPECT_FALSE(sandbox.exists("r/deep/er"));
  EXPECT_TRUE(sandbox.exists("r/deep/kept"));
}

TEST_F(WorkingFilesTest, LeavesAFileThatHasChanged) {
  const WorkingFiles::Print before = files.look("folder/file").print;
  sandbox.write("r/folder/file", "something else");
  EXPECT_NE(files.remove("folder/file", before), "");
  EXPECT_TRUE(sandbox.exists("r/folder/file"));
  EXPECT_NE(files.writeFile("folder/file", "new", 0644, {}), "");
  EXPECT_EQ(sandbox.read("r/folder/file"), "something else");
  EXPECT_EQ(sandbox.sh("ls -A r/folder"), "file") << "nothing is left beside it";
}

TEST_F(WorkingFilesTest, WritesNothingThroughALink) {
  EXPECT_NE(files.writeFile("link/file", "mine", 0644, {}), "");
  EXPECT_EQ(sandbox.read("outside/file"), "theirs");
}

TEST_F(WorkingFilesTest, RemovesEmptyFoldersOnly) {
  sandbox.makeFolder("r/folder/empty/deep");
  files.removeEmptyFolders("folder");
  EXPECT_EQ(sandbox.sh("ls -A r/folder"), "file");
}

TEST_F(WorkingFilesTest, AFolderWithMoreThanTheLimitIsNotLookedThrough) {
  sandbox.write("r/folder/another", "x");
  EXPECT_TRUE(files.contents("folder", 2));
  EXPECT_FALSE(files.contents("folder", 1));
}

TEST_F(WorkingFilesTest, PathsThatLeadElsewhereAreNotSafe) {
  for (const char* path :
       {"", "/etc/x", "../x", "a/../x", "a//b", "./a", ".git/hooks/x", "a/.GIT/config", "a/"})
    EXPECT_FALSE(WorkingFiles::isSafe(path)) << path;
  for (const char* path : {"a", "a/b", ".gitignore", "..a", "a\n"})
    EXPECT_TRUE(WorkingFiles::isSafe(path)) << path;
}

}  // namespace
}  // namespace kelpie::agent
