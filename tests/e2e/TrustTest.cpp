#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// A repository that somebody unpacked: its configuration names a program that leaves a mark.
class Trust : public ProgramsFixture {
 protected:
  Trust() {
    session.addProgram("evil", "echo \"$*\" >>\"$HOME/mark\"; cat\n");
    evil = session.home() / "bin/evil";
  }
  void config(const std::string& key, const std::string& value) {
    session.git("r", {"config", key, value});
  }
  // Everything of the repository is read: its badges, and the references of its menu.
  void look() {
    startWith(repository, file, "KPCurrentBadge");
    EXPECT_FALSE(host().waitForItem({file}, {"Checkout", "other"}).is_null());
    readAgain("new.txt");
  }
  // A status that was read from now on has been shown.
  void readAgain(const std::string& name) {
    session.append("r/" + name, "new");
    host().ask({repository + "/" + name});
    EXPECT_TRUE(host().sees(repository + "/" + name, "KPWorkdirNewBadge"));
  }
  bool isMarked() const { return fs::exists(session.home() / "mark"); }
  std::unique_ptr<ChildProcess> kelpie(const std::vector<std::string>& words) {
    auto program = session.start("kelpie", words);
    program->waitForEnd();
    return program;
  }

  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
  std::string evil;
};

TEST_F(Trust, AProgramOfTheRepositorysRunsOnlyWithTrust) {
  session.git("r", {"branch", "other"});
  config("core.fsmonitor", evil);
  look();
  EXPECT_FALSE(isMarked());
  EXPECT_TRUE(GitSession::hasLogged(*agent, "which are not run for badges: core.fsmonitor"));
  EXPECT_TRUE(becomes<bool>(
      [&] {
        return kelpie({"doctor"})->output().find("kelpie trust " + repository) != std::string::npos;
      },
      true));

  EXPECT_EQ(kelpie({"trust", repository})->errors(), "");
  EXPECT_EQ(kelpie({"trust", "list"})->output(), repository + "\n");
  // Read again without a change of the repository.
  EXPECT_TRUE(becomes<bool>([&] { return isMarked(); }, true));
  EXPECT_TRUE(becomes<bool>(
      [&] { return kelpie({"doctor"})->output().find("kelpie trust") == std::string::npos; },
      true));

  kelpie({"trust", "remove", repository});
  readAgain("later.txt");
  fs::remove(session.home() / "mark");
  readAgain("last.txt");
  EXPECT_FALSE(isMarked());
}

TEST_F(Trust, AFilterOfTheRepositorysDoesNotRunAndWhatItFiltersHasNoBadge) {
  session.git("r", {"branch", "other"});
  session.home().addFile("r/.gitattributes", "filtered.txt filter=x\n");
  session.home().addFile("r/filtered.txt", "as committed\n");
  session.home().addFile("r/sub/filtered.txt", "as committed\n");
  session.git("r", {"add", "-A"});
  session.git("r", {"commit", "-q", "-m", "Second"});
  config("filter.x.clean", evil);
  config("filter.x.required", "true");
  // Of another size git needs no filter to know.
  session.home().addFile("r/sub/filtered.txt", "AS COMMITTED\n");
  look();
  EXPECT_TRUE(host().sees(repository + "/sub", ""));
  host().show(repository + "/sub");
  EXPECT_TRUE(host().sees(repository + "/sub/filtered.txt", ""));
  EXPECT_FALSE(isMarked());
  EXPECT_EQ(kelpie({"trust", repository})->errors(), "");
  EXPECT_TRUE(host().sees(repository + "/sub/filtered.txt", "KPWorkdirModifiedBadge"));
  EXPECT_TRUE(isMarked());
}

TEST_F(Trust, AWorkTreeElsewhereIsNotOpened) {
  session.home().addFile("r/inner/.keep", "");
  session.git("r", {"init", "-q", "inner"});
  session.git("r/inner", {"config", "core.worktree", "../../.."});
  start({session.home().path()});
  host().show(repository + "/inner");
  EXPECT_TRUE(GitSession::hasLogged(*agent, "its work tree is another folder"));
  EXPECT_TRUE(becomes<bool>(
      [&] {
        return kelpie({"doctor"})->output().find(repository + "/inner is not opened: its work") !=
               std::string::npos;
      },
      true));
}

TEST_F(Trust, AnActionIsRefusedWhenTheWorkTreeHasMovedAway) {
  session.addUser(kSaysYes);
  session.home().addFile("victim/file.txt", "precious\n");
  session.append("r/file.txt", "changed");
  startWith(repository, file, "KPWorkdirModifiedBadge");
  EXPECT_FALSE(host().waitForItem({file}, {"More", "Discard All Changes…"}).is_null());
  config("core.worktree", session.home() / "victim");
  EXPECT_TRUE(host().choose({file}, {"More", "Discard All Changes…"}));
  EXPECT_TRUE(GitSession::hasLogged(*agent, "its work tree is another folder"));
  EXPECT_EQ(session.read("victim/file.txt"), "precious\n");
}

// A name cannot forge the question in which it stands.
TEST_F(Trust, ANameIsShownAsWhatItIs) {
  session.addUser(kSaysYes);
  const std::string name = "a\nDelete nothing\u202E";
  session.home().addFile("r/" + name, "new");
  const std::string path = repository + "/" + name;
  startWith(repository, path, "KPWorkdirNewBadge");
  EXPECT_TRUE(host().choose({path}, {"Discard Changes in \"a\uFFFDDelete nothing\uFFFD\"…"}));
  EXPECT_TRUE(becomes<bool>([&] { return !asked().empty(); }, true));
  EXPECT_NE(asked().find("a\\x0aDelete nothing\\xe2\\x80\\xae"), std::string::npos) << asked();
}

}  // namespace
}  // namespace kelpie
