#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

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
  // What the extension was told by now it has taken in when it answers this. Of a working copy that
  // it knows, it would have an answer to a host that asks now.
  for (int i = 0; i < 10; ++i) host().menu(0, {fileURL(repository + "/file.txt")});
  host().ask({repository + "/file.txt"});
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
  // The ignored folder stays one when the file has left it.
  session.home().addFile("r/out/more", "");
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
  // Again and again: what is read for another reason sees one of these, too.
  const char original = session.read("r/file.txt").front();
  for (int i = 0; i < 5; ++i) {
    const bool isChange = i % 2 == 0;
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(file, 0);
    void* const mapping = ::mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ASSERT_NE(mapping, MAP_FAILED);
    ::close(file);
    *static_cast<char*>(mapping) = isChange ? 'A' : original;
    ::munmap(mapping, 1);
    ASSERT_TRUE(host().sees(path, isChange ? "KPWorkdirModifiedBadge" : "KPCurrentBadge")) << i;
  }
}

// -- Working copies that come and go --------------------------------------------------------------

TEST_F(TrueBadges, ARepositoryThatIsMadeInAShownFolderHasBadges) {
  const std::string folder = session.home().addFolder("plain");
  const std::string below = session.home().addFolder("plain/sub");
  const std::string file = session.home().addFile("plain/file.txt", "new\n");
  const std::string deep = session.home().addFile("plain/sub/deep.txt", "new\n");
  start({session.home().path()});
  host().show(folder);
  host().show(below);
  session.git("plain", {"init", "-q"});
  EXPECT_TRUE(host().sees(file, "KPWorkdirNewBadge"));
  EXPECT_TRUE(host().sees(deep, "KPWorkdirNewBadge"));
  session.git("plain", {"add", "-A"});
  EXPECT_TRUE(host().sees(deep, "KPIndexNewBadge"));
}

TEST_F(TrueBadges, ARepositoryThatGoesTakesItsBadgesWithItAndMayComeBack) {
  const std::string repository = session.addRepository("r", {"file.txt", "sub/deep.txt"});
  start({session.home().path()});
  host().show(repository);
  host().show(repository + "/sub");
  EXPECT_TRUE(host().sees(repository + "/file.txt", "KPCurrentBadge"));
  EXPECT_TRUE(host().sees(repository + "/sub/deep.txt", "KPCurrentBadge"));
  fs::remove_all(repository + "/.git");
  for (const char* item : {"/file.txt", "/sub", "/sub/deep.txt"})
    EXPECT_TRUE(host().sees(repository + item, "KPEmptyBadge"));
  // The menu goes, too; and what is asked for meanwhile is not forgotten.
  EXPECT_FALSE(host().waitForItem({repository}, {"Create…"}).is_null());
  const std::string meanwhile = session.home().addFile("r/sub/meanwhile.txt", "new\n");
  host().ask({meanwhile});
  session.git("r", {"init", "-q"});
  EXPECT_TRUE(host().sees(repository + "/file.txt", "KPWorkdirNewBadge"));
  EXPECT_TRUE(host().sees(repository + "/sub/deep.txt", "KPWorkdirNewBadge"));
  EXPECT_TRUE(host().sees(meanwhile, "KPWorkdirNewBadge"));
  EXPECT_TRUE(host().choose({meanwhile}, {"Stage \"meanwhile.txt\""}));
  EXPECT_TRUE(host().sees(meanwhile, "KPIndexNewBadge"));
}

TEST_F(TrueBadges, WorkingCopiesInAShownFolderHaveBadgesBeforeTheyAreEntered) {
  const std::string code = session.home().addFolder("code");
  const std::string first = session.addRepository("code/first");
  const std::string second = session.addRepository("code/second");
  session.append("code/second/file.txt", "changed");
  start({session.home().path()});
  host().show(code);
  EXPECT_TRUE(host().sees(first, "KPCurrentBadge"));
  EXPECT_TRUE(host().sees(second, "KPWorkdirModifiedBadge"));
  session.append("code/first/file.txt", "changed");
  EXPECT_TRUE(host().sees(first, "KPWorkdirModifiedBadge"));
  // One that is cloned while the folder is shown.
  session.git("code", {"clone", "-q", first, "third"});
  host().ask({code + "/third"});
  EXPECT_TRUE(host().sees(code + "/third", "KPCurrentBadge"));
}

TEST_F(TrueBadges, AfterARestartOfTheAgentWhatIsInViewIsReadFirst) {
  constexpr int kVisited = 24;
  session.home().addFolder("code");
  for (int i = 0; i < kVisited; ++i) session.addRepository("code/r" + std::to_string(i));
  const std::string shown = session.addRepository("last");
  start({session.home().path()});
  for (int i = 0; i < kVisited; ++i) {
    const std::string visited = session.home() / ("code/r" + std::to_string(i));
    host().show(visited);
    EXPECT_TRUE(host().sees(visited + "/file.txt", "KPCurrentBadge"));
    host().hide(visited);
  }
  host().show(shown);
  EXPECT_TRUE(host().sees(shown + "/file.txt", "KPCurrentBadge"));
  agent->signal(SIGKILL);
  ASSERT_TRUE(agent->waitForEnd());
  EXPECT_TRUE(host().sees(shown + "/file.txt", "KPEmptyBadge"));
  addGitThatWaits();
  session.home().addFile("go");
  agent = session.startAgent();
  EXPECT_TRUE(host().sees(shown + "/file.txt", "KPCurrentBadge"));
  const std::string asked = session.read("asked");
  std::istringstream before(asked.substr(0, asked.find(shown + "\n")));
  std::set<std::string> others;
  for (std::string line; std::getline(before, line);) others.insert(line);
  // As many as are read at a time may be under way; on a busy machine one of them twice.
  EXPECT_LE(others.size(), 8U) << asked;
}

// A folder that lies in one of two observed folders is asked for once more after a restart of the
// agent, and forgotten then: nobody but a file manager that shows it speaks of it after another
// one.
TEST_F(TrueBadges, AFolderThatIsMadeAgainHasBadgesThoughAnotherFileManagerHasStayedInIt) {
  const std::string other = session.addRepository("code/other", {"file.txt", "sub/file.txt"});
  const std::string again = session.home().addFolder("code/again");
  const TemporaryFolder elsewhere;
  start({session.home().path(), elsewhere.path()});
  TestHost stays(session);
  stays.hello();
  stays.show(again);
  fs::remove(again);
  host().show(other);
  host().show(other + "/sub");
  EXPECT_TRUE(host().sees(other + "/sub/file.txt", "KPCurrentBadge"));
  for (int restart = 0; restart < 2; ++restart) {
    agent->signal(SIGKILL);
    ASSERT_TRUE(agent->waitForEnd());
    EXPECT_TRUE(host().sees(other + "/sub/file.txt", "KPEmptyBadge"));
    agent = session.startAgent();
    EXPECT_TRUE(host().sees(other + "/sub/file.txt", "KPCurrentBadge"));
  }
  session.addRepository("code/again");
  host().show(again);
  EXPECT_TRUE(host().sees(again + "/file.txt", "KPCurrentBadge"));
}

// -- Settings -------------------------------------------------------------------------------------

TEST_F(TrueBadges, WithoutUntrackedFilesTheseShowAsIgnored) {
  const std::string repository = session.addRepository("r", {"file.txt", "sub/tracked"});
  session.git("r", {"config", "status.showUntrackedFiles", "no"});
  session.home().addFile("r/new.txt", "new\n");
  session.home().addFile("r/sub/new.txt", "new\n");
  session.home().addFile("r/new folder/deep.txt", "new\n");
  startWith(repository, repository + "/file.txt", "KPCurrentBadge");
  for (const char* folder : {"/sub", "/new folder"}) host().show(repository + folder);
  for (const char* item : {"/new.txt", "/sub/new.txt", "/new folder", "/new folder/deep.txt"})
    EXPECT_TRUE(host().sees(repository + item, "KPIgnoredBadge"));
  EXPECT_TRUE(host().sees(repository + "/sub/tracked", "KPCurrentBadge"));
  session.git("r", {"add", "new.txt"});
  EXPECT_TRUE(host().sees(repository + "/new.txt", "KPIndexNewBadge"));
}

TEST_F(TrueBadges, TheUsersOwnListsAndSettingsCountAtOnce) {
  const std::string repository = session.addRepository("r");
  session.home().addFile("r/a.one", "new\n");
  session.home().addFile("r/a.two", "new\n");
  session.home().addFile("r/a.three", "new\n");
  session.home().addFile("elsewhere/list", "");
  startWith(repository, repository + "/a.one", "KPWorkdirNewBadge");
  // A list that was not there, in a folder that was not there.
  session.home().addFile(".config/git/ignore", "*.one\n");
  EXPECT_TRUE(host().sees(repository + "/a.one", "KPIgnoredBadge"));
  // The user's configuration; what it includes; what that names.
  session.git(".", {"config", "--global", "include.path", "elsewhere/included"});
  session.home().addFile("elsewhere/included", "[core]\n\texcludesFile = ~/elsewhere/list\n");
  EXPECT_TRUE(host().sees(repository + "/a.one", "KPWorkdirNewBadge"));
  session.home().addFile("elsewhere/list", "*.two\n");
  EXPECT_TRUE(host().sees(repository + "/a.two", "KPIgnoredBadge"));
  session.home().addFile("elsewhere/list", "*.three\n");
  EXPECT_TRUE(host().sees(repository + "/a.three", "KPIgnoredBadge"));
  EXPECT_TRUE(host().sees(repository + "/a.two", "KPWorkdirNewBadge"));
}

// Files anywhere that the configuration of a repository names.
TEST_F(TrueBadges, TheListsAndSettingsThatARepositoryNamesCountAtOnce) {
  const std::string repository = session.addRepository("r");
  for (const char* name : {"r/a.one", "r/a.two", "r/a.three"})
    session.home().addFile(name, "new\n");
  session.home().addFile("elsewhere/included", "");
  session.git("r", {"config", "include.path", session.home() / "elsewhere/included"});
  startWith(repository, repository + "/a.one", "KPWorkdirNewBadge");
  // What it includes; what that names, which is not there yet.
  session.home().addFile("elsewhere/included", "[core]\n\texcludesFile = ~/lists/ignored\n");
  session.home().addFile("lists/ignored", "*.one\n");
  EXPECT_TRUE(host().sees(repository + "/a.one", "KPIgnoredBadge"));
  session.home().addFile("lists/ignored", "*.two\n");
  EXPECT_TRUE(host().sees(repository + "/a.one", "KPWorkdirNewBadge"));
  EXPECT_TRUE(host().sees(repository + "/a.two", "KPIgnoredBadge"));
  // Its own setting, and the list that it names, from the root of the working copy.
  session.git("r", {"config", "--unset", "include.path"});
  session.git("r", {"config", "core.excludesFile", "../lists/others"});
  EXPECT_TRUE(host().sees(repository + "/a.two", "KPWorkdirNewBadge"));
  session.home().addFile("lists/others", "*.three\n");
  EXPECT_TRUE(host().sees(repository + "/a.three", "KPIgnoredBadge"));
}

}  // namespace
}  // namespace kelpie
