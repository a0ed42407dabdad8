#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// What becomes of a repository, or of git, and that everything else goes on.
class RepositoryFaults : public ProgramsFixture {
 protected:
  // The faulty repository and a sound one are shown.
  void start() {
    ProgramsFixture::start({session.home().path()});
    for (const std::string& each : {repository, sound}) host().show(each);
    EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
    EXPECT_TRUE(host().sees(sound + "/file.txt", "KPCurrentBadge"));
  }
  void expectServiceForTheOther() {
    session.append("sound/file.txt", "changed");
    EXPECT_TRUE(host().sees(sound + "/file.txt", "KPWorkdirModifiedBadge"));
  }

  const std::string repository = session.addRepository("r");
  const std::string sound = session.addRepository("sound");
  const std::string file = repository + "/file.txt";
};

TEST_F(RepositoryFaults, ADeletedOneIsClosedAndOneInItsPlaceIsOpened) {
  start();
  fs::remove_all(repository);
  EXPECT_TRUE(GitSession::hasLogged(
      *agent, repository + ": the repository is not there any more, closed\n"));
  expectServiceForTheOther();
  session.addRepository("r");
  session.append("r/file.txt", "changed");
  host().hide(repository);
  host().show(repository);
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge"));
}

TEST_F(RepositoryFaults, AMovedOneIsFoundAtItsNewPlace) {
  start();
  const std::string moved = session.home() / "moved";
  fs::rename(repository, moved);
  EXPECT_TRUE(GitSession::hasLogged(
      *agent, repository + ": the repository is not there any more, closed\n"));
  expectServiceForTheOther();
  host().show(moved);
  EXPECT_TRUE(host().sees(moved + "/file.txt", "KPCurrentBadge"));
  session.append("moved/file.txt", "changed");
  EXPECT_TRUE(host().sees(moved + "/file.txt", "KPWorkdirModifiedBadge"));
}

TEST_F(RepositoryFaults, ABrokenIndexIsSaidInGitsWordsAndItsRepairIsSeen) {
  start();
  const std::string index = session.read("r/.git/index");
  session.home().addFile("r/.git/index", "no index");
  EXPECT_TRUE(GitSession::hasLogged(*agent, repository + ": its status cannot be read: "));
  EXPECT_NE(agent->errors().find("index file"), std::string::npos) << agent->errors();
  expectServiceForTheOther();
  session.home().addFile("r/.git/index", index);
  session.append("r/file.txt", "changed");
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge"));
}

// -- git ------------------------------------------------------------------------------------------

class GitFaults : public RepositoryFaults {
 protected:
  // The agent finds this script, or nothing, in place of git; the rest of the system is there.
  void startWithGit(const char* script) {
    if (script != nullptr) session.addProgram("git", script);
    if (script == nullptr) session.setVariable("PATH", session.home() / "bin");
    ProgramsFixture::start({session.home().path()});
    host().show(repository);
  }
  // Once there is a good git, the next folder that is opened brings the badges.
  void expectServiceWithGoodGit() {
    session.addProgram("git", "PATH='" + std::string(std::getenv("PATH")) + "' exec git \"$@\"\n");
    host().hide(repository);
    host().show(repository);
    EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
  }
};

TEST_F(GitFaults, AMissingGitIsSaidOnceAndTheExtensionServes) {
  startWithGit(nullptr);
  EXPECT_TRUE(GitSession::hasLogged(*agent, "git cannot be run: "));
  EXPECT_TRUE(GitSession::hasLogged(*agent, "Git 2.26 or newer is needed.\n"));
  // Without a repository there is nothing to offer for a file.
  EXPECT_EQ(host().menu(0, {fileURL(file)}).at("items").size(), 0U);
  expectServiceWithGoodGit();
}

TEST_F(GitFaults, AGitThatIsTooOldIsSaidOnceAndNotAsked) {
  startWithGit("echo \"$*\" >>\"$HOME/calls\"; echo git version 2.10.5\n");
  EXPECT_TRUE(GitSession::hasLogged(*agent, "git 2.10 is too old. Git 2.26 or newer is needed.\n"));
  EXPECT_EQ(session.read("calls").find("status"), std::string::npos);
  expectServiceWithGoodGit();
  EXPECT_EQ(agent->errors().find("too old"), agent->errors().rfind("too old"));
}

}  // namespace
}  // namespace kelpie
