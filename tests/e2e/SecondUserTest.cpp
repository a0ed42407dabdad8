#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "e2e/ProgramsFixture.h"
#include "linux/base/UniqueFd.h"
#include "support/linux/SecondUser.h"
#include "support/linux/TestSocket.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// Somebody else on the same machine, whom nothing but the programs' own care keeps out: the folders
// around theirs are open to all.
class SecondUserAtHand : public ProgramsFixture {
 protected:
  void SetUp() override {
    if (!SecondUser::isPossible()) GTEST_SKIP() << "only root can be somebody else";
    fs::permissions(session.home().path(), kForAll);
    fs::permissions(fs::path(session.runtime().path()).parent_path(), kForAll);
  }
  // All sockets that the programs have.
  std::vector<std::string> sockets() const {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(session.runtime().path()))
      if (entry.is_socket()) paths.push_back(entry.path());
    return paths;
  }
  static std::pair<TestSocket, int> connectAsOther(const std::string& path) {
    const SecondUser user;
    TestSocket socket = TestSocket::connect(path);
    const int error = errno;
    return {std::move(socket), error};
  }
  static int errorOfOpening(const std::string& path) {
    const SecondUser user;
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file ? 0 : errno;
  }
  static void giveAway(const fs::path& folder) {
    ASSERT_EQ(::lchown(folder.c_str(), SecondUser::kId, SecondUser::kId), 0);
    for (const auto& entry : fs::recursive_directory_iterator(folder))
      ASSERT_EQ(::lchown(entry.path().c_str(), SecondUser::kId, SecondUser::kId), 0);
  }

  static constexpr fs::perms kForAll = fs::perms::owner_all | fs::perms::group_read |
                                       fs::perms::group_exec | fs::perms::others_read |
                                       fs::perms::others_exec;
};

TEST_F(SecondUserAtHand, ReachesNoSocketAndNoSetting) {
  const std::string repository = session.addRepository("r");
  startWith(repository, repository + "/file.txt", "KPCurrentBadge");
  const std::vector<std::string> all = sockets();
  EXPECT_EQ(all.size(), 3U) << "the host link and two ports";
  for (const std::string& path : all) {
    const auto [socket, error] = connectAsOther(path);
    EXPECT_FALSE(socket) << path;
    EXPECT_EQ(error, EACCES) << path;
  }
  EXPECT_EQ(errorOfOpening(session.runtime().lockFile()), EACCES);
  EXPECT_EQ(errorOfOpening(session.sharedDefaults().path()), EACCES);
  EXPECT_EQ(errorOfOpening(session.home().path()), 0) << "who could otherwise";
}

TEST_F(SecondUserAtHand, IsTurnedAwayWhereTheFoldersWereOpened) {
  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
  startWith(repository, file, "KPCurrentBadge");
  for (const auto& entry : fs::recursive_directory_iterator(session.runtime().path()))
    fs::permissions(entry.path(), fs::perms::all);
  fs::permissions(session.runtime().path(), fs::perms::all);
  for (const std::string& path : sockets()) {
    auto [socket, error] = connectAsOther(path);
    ASSERT_TRUE(socket) << path;
    // Perhaps it is closed before this arrives.
    socket.write("{\"type\":\"hello\",\"host\":\"other\",\"version\":1}\n");
    EXPECT_EQ(socket.readExactly(1), "") << path;
    ChildProcess& owner = path.ends_with(".App") ? *agent : *sync;
    EXPECT_TRUE(
        GitSession::hasLogged(owner, "turned away another user's connection on " + path + "\n"));
  }
  session.append("r/file.txt", "changed");
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge")) << "the user is served as before";
}

TEST_F(SecondUserAtHand, CannotStandInForTheExtension) {
  ASSERT_EQ(session.runtime().prepare(), std::nullopt);
  fs::permissions(session.runtime().path(), fs::perms::all);
  TestSocket theirs = [this] {
    const SecondUser user;
    return TestSocket::listen(session.runtime().finderSocket());
  }();
  ASSERT_TRUE(theirs);
  const auto kelpie = session.start("kelpie", {"menu", session.home().path()});
  EXPECT_EQ(kelpie->waitForEnd(), 1);
  EXPECT_NE(kelpie->errors(), "");
  EXPECT_EQ(kelpie->output(), "");
  EXPECT_EQ(theirs.accept().readExactly(1), "") << "it was told nothing";
}

TEST_F(SecondUserAtHand, HasRepositoriesThatAreReadWhenTheUserAllowsIt) {
  const std::string theirs = session.addRepository("theirs");
  const std::string own = session.addRepository("own");
  giveAway(theirs);
  start({session.home().path()});
  host().show(theirs);
  EXPECT_TRUE(GitSession::hasLogged(*agent, "dubious ownership"));
  host().show(own);
  EXPECT_TRUE(host().sees(own + "/file.txt", "KPCurrentBadge"));
  EXPECT_EQ(host().badge(fileURL(theirs + "/file.txt")), "none");
  session.git("", {"config", "--global", "--add", "safe.directory", theirs});
  host().hide(theirs);
  host().show(theirs);
  EXPECT_TRUE(host().sees(theirs + "/file.txt", "KPCurrentBadge"));
}

}  // namespace
}  // namespace kelpie
