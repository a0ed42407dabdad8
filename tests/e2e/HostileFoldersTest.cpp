#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "e2e/ProgramsFixture.h"
#include "support/Script.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// Folders that somebody has filled with what is not expected there.
class HostileFolders : public ProgramsFixture {
 protected:
  static void addPipe(const std::string& path) {
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  }
  // Whether one of the program's children is a git.
  static bool runsGit(const ChildProcess& program) {
    std::error_code gone;
    const fs::path tasks = "/proc/" + std::to_string(program.pid()) + "/task";
    for (const auto& task : fs::directory_iterator(tasks, gone)) {
      std::ifstream children(task.path() / "children");
      for (std::string pid; children >> pid;)
        if (std::string name; std::getline(std::ifstream("/proc/" + pid + "/comm"), name))
          if (name == "git") return true;
    }
    return false;
  }
};

TEST_F(HostileFolders, NoProgramOfARepositoryIsFoundInPlaceOfTheUsers) {
  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
  session.addUser(kSaysYes);
  for (const char* name : {"git", "zenity", "kdialog", "git-status", "ssh"})
    putScript(repository + "/" + name, "echo $0 >>\"$HOME/mark\"\n");
  session.append("r/file.txt", "changed");
  const char* path = std::getenv("PATH");
  session.setVariable("PATH", ".::" + (session.home() / "bin") + ":" + path);
  startWith(repository, file, "KPWorkdirModifiedBadge");
  EXPECT_TRUE(host().choose({file}, {"Discard Changes in \"file.txt\"…"}));
  EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
  EXPECT_NE(asked(), "");
  EXPECT_FALSE(fs::exists(session.home() / "mark")) << session.read("mark");
}

TEST_F(HostileFolders, ARepositoryThatWouldMakeGitWaitIsNotRead) {
  const std::string hostile = session.addRepository("hostile");
  const std::string good = session.addRepository("good");
  addPipe(hostile + "/.gitattributes");
  start({session.home().path()});
  host().show(hostile);
  EXPECT_TRUE(GitSession::hasLogged(*agent, "its \".gitattributes\" is no file."));
  host().show(good);
  EXPECT_TRUE(host().sees(good + "/file.txt", "KPCurrentBadge"));
  fs::remove(hostile + "/.gitattributes");
  host().hide(hostile);
  host().show(hostile);
  EXPECT_TRUE(host().sees(hostile + "/file.txt", "KPCurrentBadge"));
}

TEST_F(HostileFolders, GitsThatWaitDoNotHoldUpOtherRepositories) {
  const std::string good = session.addRepository("good");
  start({session.home().path()});
  for (int i = 0; i < 12; ++i) {
    const std::string name = "hostile" + std::to_string(i);
    const std::string hostile = session.addRepository(name, {"file.txt", "sub/file.txt"});
    addPipe(hostile + "/sub/.gitignore");
    host().show(hostile);
  }
  EXPECT_TRUE(session.waitUntil([&] { return runsGit(*agent); }));
  host().show(good);
  EXPECT_TRUE(host().sees(good + "/file.txt", "KPCurrentBadge"));
  EXPECT_TRUE(runsGit(*agent)) << "this was no test: none of them waits";
}

}  // namespace
}  // namespace kelpie
