#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// What is chosen from the menu of items is done by git.
class FileItems : public ProgramsFixture {
 protected:
  // A repository with files that are changed, and one that is new; all of them are shown.
  void startWithChanges() {
    session.append("r/a.txt", "changed");
    session.append("r/b.txt", "changed");
    session.append("r/new.txt", "new");
    startWith(repository, a, "KPWorkdirModifiedBadge");
  }
  std::string staged() const { return session.git("r", {"diff", "--cached", "--name-only"}); }

  const std::string repository = session.addRepository("r", {"a.txt", "b.txt", "c.txt"});
  const std::string a = repository + "/a.txt";
  const std::string b = repository + "/b.txt";
  const std::string added = repository + "/new.txt";
};

TEST_F(FileItems, StageAndUnstageOneFile) {
  startWithChanges();
  EXPECT_TRUE(host().choose({a}, {"Stage \"a.txt\""}));
  EXPECT_TRUE(host().sees(a, "KPIndexModifiedBadge"));
  EXPECT_EQ(staged(), "a.txt");
  EXPECT_TRUE(host().choose({a}, {"Unstage \"a.txt\""}));
  EXPECT_TRUE(host().sees(a, "KPWorkdirModifiedBadge"));
  EXPECT_EQ(staged(), "");
}

TEST_F(FileItems, StageSeveralFiles) {
  startWithChanges();
  EXPECT_TRUE(host().choose({a, b, added}, {"Stage 3 Files"}));
  EXPECT_TRUE(host().sees(b, "KPIndexModifiedBadge"));
  EXPECT_TRUE(host().sees(added, "KPIndexNewBadge"));
  EXPECT_EQ(staged(), "a.txt\nb.txt\nnew.txt");
}

TEST_F(FileItems, StageADeletedFileByItsPlaceholder) {
  startWithChanges();
  const std::string placeholder = placeholderOf(repository + "/c.txt");
  fs::remove(repository + "/c.txt");
  host().ask({placeholder});
  EXPECT_TRUE(host().sees(placeholder, "KPWorkdirDeletedBadge"));
  EXPECT_TRUE(host().choose({placeholder}, {"Stage \"c.txt\""}));
  EXPECT_TRUE(host().sees(placeholder, "KPIndexDeletedBadge"));
  EXPECT_EQ(session.git("r", {"diff", "--cached", "--name-status"}), "D\tc.txt");
}

TEST_F(FileItems, DiscardWhenTheUserAgrees) {
  session.addUser(kSaysYes);
  startWithChanges();
  EXPECT_TRUE(host().choose({a}, {"Discard Changes in \"a.txt\"…"}));
  EXPECT_TRUE(host().sees(a, "KPCurrentBadge"));
  EXPECT_EQ(session.read("r/a.txt"), "as committed\n");
  EXPECT_EQ(session.read("r/b.txt"), "as committed\nchanged\n") << "nothing else";
  EXPECT_NE(asked().find("Discard changes in \"a.txt\"?"), std::string::npos) << asked();
}

TEST_F(FileItems, DiscardNothingWhenTheUserDoesNotAgree) {
  session.addUser(kSaysNo);
  startWithChanges();
  EXPECT_TRUE(host().choose({a}, {"Discard Changes in \"a.txt\"…"}));
  // One action at a time: when this one is done, the one before has ended.
  EXPECT_TRUE(host().choose({a}, {"Stage \"a.txt\""}));
  EXPECT_TRUE(host().sees(a, "KPIndexModifiedBadge"));
  EXPECT_EQ(session.read("r/a.txt"), "as committed\nchanged\n");
  EXPECT_NE(asked(), "");
  EXPECT_EQ(agent->errors(), "Action discard: was cancelled.\n") << "that is no failure";
}

TEST_F(FileItems, DiscardNothingWhenNobodyCanBeAsked) {
  startWithChanges();
  EXPECT_TRUE(host().choose({a}, {"Discard Changes in \"a.txt\"…"}));
  EXPECT_TRUE(GitSession::hasLogged(*agent, "Action discard: failed: "));
  EXPECT_EQ(session.read("r/a.txt"), "as committed\nchanged\n");
  EXPECT_TRUE(host().choose({a}, {"Stage \"a.txt\""}));
  EXPECT_TRUE(host().sees(a, "KPIndexModifiedBadge"));
}

TEST_F(FileItems, IgnoreExactlyThatFile) {
  session.append("r/n*.txt", "new");
  startWithChanges();
  const std::string star = repository + "/n*.txt";
  EXPECT_TRUE(host().choose({star}, {"More", "Ignore \"n*.txt\""}));
  EXPECT_TRUE(host().sees(star, "KPIgnoredBadge"));
  EXPECT_TRUE(host().sees(added, "KPWorkdirNewBadge"));
  EXPECT_EQ(session.read("r/.gitignore"), "/n\\*.txt\n");
}

TEST_F(FileItems, Exclude) {
  startWithChanges();
  EXPECT_TRUE(host().choose({added}, {"More", "Exclude \"new.txt\""}));
  EXPECT_TRUE(host().sees(added, "KPIgnoredBadge"));
  EXPECT_FALSE(fs::exists(repository + "/.gitignore"));
}

TEST_F(FileItems, RevertToATag) {
  session.git("r", {"tag", "v1"});
  session.append("r/a.txt", "second");
  session.git("r", {"commit", "-q", "-a", "-m", "Second"});
  startWith(repository, a, "KPCurrentBadge");
  EXPECT_TRUE(host().choose({a}, {"More", "Revert \"a.txt\"", "v1"}));
  EXPECT_TRUE(host().sees(a, "KPIndexModifiedBadge"));
  EXPECT_EQ(session.read("r/a.txt"), "as committed\n");
}

TEST_F(FileItems, StashOneFile) {
  session.addUser(kTypesTopic);
  startWithChanges();
  EXPECT_TRUE(host().choose({a}, {"More", "Stash \"a.txt\"…"}));
  EXPECT_TRUE(host().sees(a, "KPCurrentBadge"));
  EXPECT_EQ(session.git("r", {"stash", "show", "--name-only"}), "a.txt");
  EXPECT_EQ(session.read("r/b.txt"), "as committed\nchanged\n");
}

TEST_F(FileItems, ResolveTheConflictOfAMergeWithTheirVersion) {
  session.addUser(kSaysYes);
  session.git("r", {"checkout", "-q", "-b", "theirs"});
  session.append("r/a.txt", "theirs");
  session.git("r", {"commit", "-q", "-a", "-m", "Theirs"});
  session.git("r", {"checkout", "-q", "main"});
  session.append("r/a.txt", "ours");
  session.git("r", {"commit", "-q", "-a", "-m", "Ours"});
  startWith(repository, a, "KPCurrentBadge");
  EXPECT_TRUE(host().choose({a}, {"Merge With", "theirs"}));
  EXPECT_TRUE(host().sees(a, "KPConflictedBadge"));
  EXPECT_TRUE(host().choose({a}, {"Resolve \"a.txt\"", "Resolve Using Theirs"}));
  EXPECT_TRUE(host().sees(a, "KPIndexModifiedBadge"));
  EXPECT_EQ(session.read("r/a.txt"), "as committed\ntheirs\n");
  EXPECT_EQ(session.git("r", {"ls-files", "--unmerged"}), "");
}

}  // namespace
}  // namespace kelpie
