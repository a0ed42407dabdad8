#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "e2e/ProgramsFixture.h"
#include "linux/base/SessionBus.h"
#include "support/linux/FakeDesktop.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// What discards and replaces files, with real git and a stand-in of the user: nothing is lost that
// the question did not count.
class Discarding : public ProgramsFixture {
 protected:
  // A user who answers "yes" to the first `count` questions and "no" after that. While the first
  // one is open, the shell runs `meanwhile` in the repository.
  void addUserWho(int count, const std::string& meanwhile) {
    session.addUser(
        "echo \"$*\" >>\"$HOME/asked\"\necho x >>\"$HOME/count\"\ncd \"$HOME/r\"\n"
        "if [ ! -e \"$HOME/first\" ]; then :>\"$HOME/first\"; " +
        meanwhile + "; fi\n[ $(wc -l <\"$HOME/count\") -le " + std::to_string(count) + " ]\n");
  }
  int undo() {
    const auto kelpie = session.start("kelpie", {"undo", repository});
    const auto status = kelpie->waitForEnd();
    EXPECT_EQ(kelpie->errors(), "");
    return status.value_or(-1);
  }
  bool exists(const std::string& name) const { return fs::exists(repository + "/" + name); }
  // All actions before this one have ended, since they come one after the other.
  void endOfActions() {
    session.append("r/last.txt", "x");
    EXPECT_TRUE(host().choose({repository + "/last.txt"}, {"Stage \"last.txt\""}));
    EXPECT_TRUE(gitSays("r", {"diff", "--cached", "--name-only", "--", "last.txt"}, "last.txt"));
  }

  const std::string repository = session.addRepository("r", {"a.txt", "sub/b.txt"});
  const std::string a = repository + "/a.txt";
};

TEST_F(Discarding, LeavesUntrackedFilesThatGitWasToldNotToShow) {
  session.git("r", {"config", "status.showUntrackedFiles", "no"});
  session.append("r/staged.txt", "new");
  session.append("r/precious.txt", "new");
  session.append("r/sub/precious.txt", "new");
  session.git("r", {"add", "staged.txt"});
  addUserWho(1, "true");
  startWith(repository, repository + "/staged.txt", "KPIndexNewBadge");
  EXPECT_TRUE(host().choose({a}, {"More", "Discard All Changes…"}));
  EXPECT_TRUE(gitSays("r", {"ls-files", "--", "staged.txt"}, ""));
  EXPECT_TRUE(becomes<bool>([&] { return exists("staged.txt"); }, false));
  // One action at a time: when this one is done, the one before has ended.
  session.append("r/a.txt", "changed");
  EXPECT_TRUE(host().choose({a}, {"Stage \"a.txt\""}));
  EXPECT_TRUE(gitSays("r", {"diff", "--cached", "--name-only"}, "a.txt"));
  EXPECT_NE(asked().find("1 changed item(s)"), std::string::npos) << asked();
  EXPECT_TRUE(exists("precious.txt"));
  EXPECT_TRUE(exists("sub/precious.txt"));
}

TEST_F(Discarding, LeavesWhatIsMadeWhileTheQuestionIsOpen) {
  session.append("r/a.txt", "changed");
  session.append("r/new.txt", "new");
  addUserWho(1, "echo x >later.txt; echo later >>sub/b.txt");
  startWith(repository, a, "KPWorkdirModifiedBadge");
  EXPECT_TRUE(host().choose({a}, {"More", "Discard All Changes…"}));
  EXPECT_TRUE(becomes<bool>([&] { return exists("new.txt"); }, false));
  // git status takes the lock of the index: not while the action works.
  endOfActions();
  EXPECT_TRUE(gitSays("r", {"status", "--porcelain"}, "A  last.txt\n M sub/b.txt\n?? later.txt"));
}

TEST_F(Discarding, AsksAgainAboutWhatChangesWhileTheQuestionIsOpen) {
  session.append("r/a.txt", "changed");
  addUserWho(1, "echo hours of work >>a.txt");
  startWith(repository, a, "KPWorkdirModifiedBadge");
  EXPECT_TRUE(host().choose({a}, {"Discard Changes in \"a.txt\"…"}));
  endOfActions();
  EXPECT_NE(asked().find("have changed since you were asked"), std::string::npos) << asked();
  EXPECT_EQ(session.read("r/a.txt"), "as committed\nchanged\nhours of work\n");
}

TEST_F(Discarding, CanBeUndoneFromTheCommandLine) {
  session.append("r/a.txt", "staged");
  session.git("r", {"add", "a.txt"});
  session.append("r/a.txt", "changed");
  session.append("r/new/deep\nname.txt", "new");
  const std::string before = session.git("r", {"status", "--porcelain=v2", "-uall"});
  addUserWho(1, "true");
  startWith(repository, a, "KPWorkdirModifiedBadge");
  EXPECT_TRUE(host().choose({a}, {"More", "Discard All Changes…"}));
  EXPECT_TRUE(host().sees(a, "KPCurrentBadge"));
  EXPECT_TRUE(becomes<bool>([&] { return exists("new"); }, false));
  endOfActions();
  session.git("r", {"reset", "-q"});
  fs::remove(repository + "/last.txt");
  EXPECT_EQ(undo(), 0);
  EXPECT_EQ(session.git("r", {"status", "--porcelain=v2", "-uall"}), before);
  EXPECT_TRUE(host().sees(a, "KPWorkdirModifiedBadge"));
}

TEST_F(Discarding, WhatIsUndoneFromTheCommandLineIsNotOfferedAnyMore) {
  const auto bus = SessionBus::connectTo(session.bus().address()).bus;
  const FakeDesktop desktop(bus->connection());
  session.append("r/a.txt", "changed");
  addUserWho(1, "true");
  startWith(repository, a, "KPWorkdirModifiedBadge");
  EXPECT_TRUE(host().choose({a}, {"Discard Changes in \"a.txt\"…"}));
  EXPECT_TRUE(
      becomes<bool>([&] { return desktop.shown().find("'Undo'") != std::string::npos; }, true));
  // On a slow machine there was one that told of the action before.
  const std::string offer = "(" + std::to_string(desktop.number()) + ",)";
  EXPECT_NE(desktop.closed(), offer);
  EXPECT_EQ(undo(), 0);
  EXPECT_TRUE(becomes<std::string>([&] { return desktop.closed(); }, offer));
}

TEST_F(Discarding, AnIgnoredFileInTheWayOfAMergeIsAskedAbout) {
  session.git("r", {"checkout", "-q", "-b", "topic"});
  session.append("r/x.o", "committed");
  session.git("r", {"add", "x.o"});
  session.git("r", {"commit", "-q", "-m", "Topic"});
  session.git("r", {"checkout", "-q", "main"});
  session.append("r/b.txt", "here");
  session.git("r", {"add", "b.txt"});
  session.git("r", {"commit", "-q", "-m", "Here"});
  session.append("r/.git/info/exclude", "*.o");
  session.append("r/x.o", "mine");
  addUserWho(1, "true");
  startWith(repository, a, "KPCurrentBadge");
  EXPECT_TRUE(host().choose({a}, {"Merge With", "topic"}));
  EXPECT_TRUE(gitSays("r", {"log", "-1", "--format=%s"}, "Merge branch 'topic'"));
  EXPECT_NE(asked().find("\"x.o\""), std::string::npos) << asked();
  endOfActions();
  EXPECT_EQ(undo(), 0);
  EXPECT_EQ(session.read("r/x.o"), "mine\n");
}

TEST_F(Discarding, RevertingAsksBeforeItOverwritesFilesThatGitDoesNotKnow) {
  session.append("r/sub/x.o", "committed");
  session.git("r", {"add", "-A"});
  session.git("r", {"commit", "-q", "-m", "More"});
  session.git("r", {"tag", "v2"});
  session.git("r", {"reset", "-q", "--hard", "HEAD~1"});
  session.append("r/.git/info/exclude", "*.o");
  session.append("r/sub/b.txt", "mine");
  session.append("r/sub/x.o", "mine");
  addUserWho(0, "true");
  startWith(repository, a, "KPCurrentBadge");
  host().ask({repository + "/sub"});
  EXPECT_TRUE(host().choose({repository + "/sub"}, {"More", "Revert \"sub\"", "v2"}));
  endOfActions();
  EXPECT_NE(asked().find("1 file(s) that are untracked or ignored"), std::string::npos) << asked();
  EXPECT_EQ(session.read("r/sub/b.txt"), "as committed\nmine\n");
  EXPECT_EQ(session.read("r/sub/x.o"), "mine\n");
}

TEST_F(Discarding, MarkingAsResolvedAsksWhileTheMarksAreThere) {
  session.git("r", {"checkout", "-q", "-b", "theirs"});
  session.append("r/a.txt", "theirs");
  session.git("r", {"commit", "-q", "-a", "-m", "Theirs"});
  session.git("r", {"checkout", "-q", "main"});
  session.append("r/a.txt", "ours");
  session.git("r", {"commit", "-q", "-a", "-m", "Ours"});
  addUserWho(0, "true");
  startWith(repository, a, "KPCurrentBadge");
  EXPECT_TRUE(host().choose({a}, {"Merge With", "theirs"}));
  EXPECT_TRUE(host().sees(a, "KPConflictedBadge"));
  EXPECT_TRUE(host().choose({a}, {"Resolve \"a.txt\"", "Mark as Resolved"}));
  EXPECT_TRUE(becomes<bool>(
      [&] { return asked().find("1 file(s) still hold the marks") != std::string::npos; }, true));
  EXPECT_NE(session.git("r", {"ls-files", "--unmerged"}), "");
}

}  // namespace
}  // namespace kelpie
