#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// No badge that is wrong, and none that stays so: a file manager that asks once sees the truth.
class TrueBadges : public ProgramsFixture {
 protected:
  // A git that waits with each status until `go` is there in the home folder.
  void addGitThatWaits() {
    session.addProgram("git", "export PATH='" + std::string(std::getenv("PATH")) +
                                  "'\n"
                                  "case \"$*\" in *' status '*)\n"
                                  "  echo \"$PWD\" >>\"$HOME/asked\"\n"
                                  "  while [ ! -e \"$HOME/go\" ]; do sleep 0.01; done;;\n"
                                  "esac\n"
                                  "exec git \"$@\"\n");
  }
};

TEST_F(TrueBadges, NothingHasABadgeBeforeThereIsAStatus) {
  const std::string repository = session.addRepository("r");
  session.append("r/file.txt", "changed");
  addGitThatWaits();
  start({session.home().path()});
  host().show(repository);
  ASSERT_TRUE(session.waitUntil([&] { return !session.read("asked").empty(); }));
  // What the extension was told by now it has taken in when it answers this.
  for (int i = 0; i < 10; ++i) host().menu(0, {fileURL(repository + "/file.txt")});
  EXPECT_EQ(host().badge(fileURL(repository + "/file.txt")), "none");
  session.home().addFile("go");
  EXPECT_TRUE(host().sees(repository + "/file.txt", "KPWorkdirModifiedBadge"));
}

TEST_F(TrueBadges, AFileThatLeavesAnIgnoredFolderIsIgnoredNoMore) {
  const std::string repository = session.addRepository("r", {"file.txt", "sub/tracked"});
  session.home().addFile("r/.gitignore", "/out/\n");
  session.git("r", {"add", "-A"});
  session.git("r", {"commit", "-q", "-m", "Ignores"});
  session.home().addFile("r/out/other", "as committed\n");
  startWith(repository, repository + "/file.txt", "KPCurrentBadge");
  for (const char* folder : {"/sub", "/out"}) host().show(repository + folder);
  EXPECT_TRUE(host().sees(repository + "/sub/tracked", "KPCurrentBadge"));
  EXPECT_TRUE(host().sees(repository + "/out/other", "KPIgnoredBadge"));
  // In place of the tracked file, with the same content: git has nothing to tell.
  fs::rename(repository + "/out/other", repository + "/sub/tracked");
  // One that asks for the first time, so that what it sees is the answer.
  TestHost other(session);
  other.hello();
  other.ask({repository + "/sub/tracked"});
  EXPECT_TRUE(other.sees(repository + "/sub/tracked", "KPCurrentBadge"));
}

TEST_F(TrueBadges, WritesThroughAMappingAreSeenWhenItEnds) {
  const std::string repository = session.addRepository("r");
  const std::string path = repository + "/file.txt";
  startWith(repository, path, "KPCurrentBadge");
  const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(file, 0);
  void* const mapping = ::mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  ASSERT_NE(mapping, MAP_FAILED);
  ::close(file);
  *static_cast<char*>(mapping) = 'A';
  ::munmap(mapping, 1);
  EXPECT_TRUE(host().sees(path, "KPWorkdirModifiedBadge"));
}

}  // namespace
}  // namespace kelpie
