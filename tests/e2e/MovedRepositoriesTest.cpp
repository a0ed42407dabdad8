#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// Working copies that are moved, exchanged and made again while they are shown: badges are those of
// what is there now, for a file manager that shows the new place.
class MovedRepositories : public ProgramsFixture {
 protected:
  // A repository with an item in its root and one below, in a folder that is shown as well.
  std::string add(const std::string& folder) const {
    return session.addRepository(folder, {"file.txt", "sub/deep.txt"});
  }
  void showWhole(const std::string& repository) {
    for (const char* folder : {"", "/sub"}) host().show(repository + folder);
  }
  void expectWhole(const std::string& repository, const std::string& badge) {
    for (const char* item : {"/file.txt", "/sub/deep.txt"})
      EXPECT_TRUE(host().sees(repository + item, badge));
  }
  void change(const std::string& folder) {
    for (const char* item : {"/file.txt", "/sub/deep.txt"})
      session.append(folder + item, "changed");
  }
};

TEST_F(MovedRepositories, OneThatIsRenamed) {
  const std::string before = add("before");
  const std::string after = session.home() / "after";
  start({session.home().path()});
  showWhole(before);
  expectWhole(before, "KPCurrentBadge");
  fs::rename(before, after);
  showWhole(after);
  expectWhole(after, "KPCurrentBadge");
  change("after");
  expectWhole(after, "KPWorkdirModifiedBadge");
}

TEST_F(MovedRepositories, OneWhoseParentIsRenamed) {
  const std::string before = add("up/r");
  const std::string after = session.home() / "other/r";
  start({session.home().path()});
  showWhole(before);
  expectWhole(before, "KPCurrentBadge");
  fs::rename(session.home() / "up", session.home() / "other");
  showWhole(after);
  expectWhole(after, "KPCurrentBadge");
  change("other/r");
  expectWhole(after, "KPWorkdirModifiedBadge");
}

// Nothing is asked for again.
TEST_F(MovedRepositories, TwoThatChangePlaces) {
  const std::string one = add("one");
  const std::string two = add("two");
  change("two");
  start({session.home().path()});
  showWhole(one);
  showWhole(two);
  expectWhole(one, "KPCurrentBadge");
  expectWhole(two, "KPWorkdirModifiedBadge");
  fs::rename(one, session.home() / "away");
  fs::rename(two, one);
  fs::rename(session.home() / "away", two);
  expectWhole(one, "KPWorkdirModifiedBadge");
  expectWhole(two, "KPCurrentBadge");
}

// No badge is better than that of another file.
TEST_F(MovedRepositories, OneWhosePlaceIsTakenByAFolderThatIsNone) {
  const std::string before = add("before");
  session.home().addFile("plain/file.txt", "other\n");
  session.home().addFile("plain/sub/deep.txt", "other\n");
  start({session.home().path()});
  showWhole(before);
  expectWhole(before, "KPCurrentBadge");
  fs::rename(before, session.home() / "after");
  fs::rename(session.home() / "plain", before);
  expectWhole(before, "KPEmptyBadge");
}

// The file system may give the new one the numbers of the old one.
TEST_F(MovedRepositories, OneThatIsDeletedAndClonedAgain) {
  const std::string origin = add("origin");
  const std::string clone = session.home() / "clone";
  session.git(".", {"clone", "-q", origin, clone});
  start({session.home().path()});
  showWhole(clone);
  expectWhole(clone, "KPCurrentBadge");
  change("clone");
  expectWhole(clone, "KPWorkdirModifiedBadge");
  fs::remove_all(clone);
  session.git(".", {"clone", "-q", origin, clone});
  expectWhole(clone, "KPCurrentBadge");
  change("clone");
  expectWhole(clone, "KPWorkdirModifiedBadge");
}

TEST_F(MovedRepositories, AnotherOneOnTheInodeOfOneThatIsGone) {
  const std::string one = add("one");
  start({session.home().path()});
  showWhole(one);
  expectWhole(one, "KPCurrentBadge");
  const auto inodeOf = [](const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
  };
  const ino_t inode = inodeOf(one);
  fs::remove_all(one);
  // The file system gives a free number again sooner or later, if it ever does.
  std::string other;
  for (int i = 0; i < 200 && other.empty(); ++i) {
    const std::string name = "other" + std::to_string(i);
    if (inodeOf(session.home().addFolder(name)) == inode) other = name;
  }
  if (other.empty()) GTEST_SKIP() << "this file system gives no number a second time";
  const std::string repository = add(other);
  change(other);
  showWhole(repository);
  expectWhole(repository, "KPWorkdirModifiedBadge");
}

TEST_F(MovedRepositories, OneThatIsRenamedInAFolderThatIsShown) {
  const std::string code = session.home().addFolder("code");
  add("code/before");
  start({session.home().path()});
  host().show(code);
  EXPECT_TRUE(host().sees(code + "/before", "KPCurrentBadge"));
  fs::rename(code + "/before", code + "/after");
  host().ask({code + "/after"});
  EXPECT_TRUE(host().sees(code + "/after", "KPCurrentBadge"));
  change("code/after");
  EXPECT_TRUE(host().sees(code + "/after", "KPWorkdirModifiedBadge"));
}

}  // namespace
}  // namespace kelpie
