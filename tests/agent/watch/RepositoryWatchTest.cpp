#include "agent/watch/RepositoryWatch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <utility>

#include "agent/git/GitSandbox.h"
#include "agent/git/StatusReader.h"
#include "agent/watch/WatchPump.h"
#include "support/EventLog.h"
#include "support/ManualQueues.h"
#include "support/linux/FullTable.h"

namespace kelpie::agent {
namespace {

class RepositoryWatchTest : public testing::Test {
 protected:
  void SetUp() override {
    sandbox_.init("r");
    sandbox_.write("r/.gitignore", "build\n");
    sandbox_.write("r/sub/deep/f", "1\n");
    sandbox_.write("r/build/out/x", "1\n");
    sandbox_.commitAll("r", "one");
  }

  void open(const std::string& folder = "r", std::size_t limit = 1000) {
    watcher_ = std::make_unique<DirectoryWatcher>(limit);
    const auto finding = WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path(folder));
    ASSERT_TRUE(finding.workingCopy) << finding.failure;
    copy_ = *finding.workingCopy;
    watch_ = std::make_unique<RepositoryWatch>(
        *watcher_, copy_, queues_.mainQueue(), queues_.makeQueue("walks"),
        RepositoryWatch::Callbacks{[this](Change change, const std::string& path) {
                                     seen_ |= change;
                                     if (change.status) places_.insert(path);
                                   },
                                   [this] { ++limitsReached_; }});
    settle();
  }

  // One status, as the owner of a watch reads it.
  void follow() {
    const auto reading = StatusReader(GitCommand("git", "/"), copy_).read();
    ASSERT_EQ(reading.index(), 0U);
    watch_->follow(*std::get<0>(reading), std::nullopt);
  }

  // Follows until nothing changes any more, and forgets what was seen by then.
  void settle() {
    for (int i = 0; i < 10; ++i) {
      seen_ = {};
      follow();
      pumpAll(*watcher_, queues_);
      if (!seen_.any()) return;
    }
    ADD_FAILURE() << "every look at it makes it change";
  }

  // What has been seen since settle().
  Change seen() {
    pumpAll(*watcher_, queues_);
    return std::exchange(seen_, {});
  }

  // The folders of the working copy that are watched, relative to it, without those of git.
  std::set<std::string> watched() {
    std::set<std::string> result;
    for (const std::string& folder : watcher_->foldersOf(1))  // the only client
      if (isWithin(folder, copy_.root) && !isWithin(folder, copy_.gitDirectory))
        result.insert(folder == copy_.root ? "." : folder.substr(copy_.root.size() + 1));
    return result;
  }

  static constexpr Change kNothing{};
  static constexpr Change kStatus{true, false};
  static constexpr Change kNames{true, false, true};
  static constexpr Change kReferences{false, true};

  GitSandbox sandbox_;
  EventLog events_;
  ManualQueues queues_{events_};
  std::unique_ptr<DirectoryWatcher> watcher_;
  std::unique_ptr<RepositoryWatch> watch_;
  WorkingCopy copy_;
  Change seen_;
  std::set<std::string> places_;  // that were told of
  int limitsReached_ = 0;
};

TEST_F(RepositoryWatchTest, AllFoldersButIgnoredOnesAreWatched) {
  open();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep"}));
  sandbox_.write("r/sub/deep/f", "2\n");
  EXPECT_EQ(seen(), kStatus);
  sandbox_.write("r/build/out/y", "2\n");
  EXPECT_EQ(seen(), kNothing);
  EXPECT_TRUE(watch_->isComplete());
}

TEST_F(RepositoryWatchTest, TheFirstFollowingCountsAsAChange) {
  open();
  watch_.reset();
  pumpAll(*watcher_, queues_);
  watch_ = std::make_unique<RepositoryWatch>(
      *watcher_, copy_, queues_.mainQueue(), queues_.makeQueue("walks"),
      RepositoryWatch::Callbacks{[this](Change change, const std::string&) { seen_ |= change; },
                                 [] {}});
  follow();
  EXPECT_EQ(seen(), (Change{true, true})) << "what happened before the watch went unseen";
}

TEST_F(RepositoryWatchTest, AskingGitChangesNothing) {
  open();
  sandbox_.write("r/sub/deep/f", "2\n");
  settle();
  follow();
  const GitCommand git("git", copy_.root);
  for (const Arguments& question : {Arguments{"for-each-ref"}, Arguments{"stash", "list"},
                                    Arguments{"config", "--list"}, Arguments{"rev-parse", "HEAD"}})
    EXPECT_TRUE(git.ask(question).succeeded());
  EXPECT_EQ(seen(), kNothing);
}

TEST_F(RepositoryWatchTest, AFolderThatComesIntoBeingIsWatchedAfterTheNextStatus) {
  open();
  sandbox_.write("r/new/deeper/f", "1\n");
  EXPECT_EQ(seen(), kNames);
  follow();
  EXPECT_EQ(seen(), kStatus) << "for what was done in it before it was watched";
  follow();
  EXPECT_EQ(seen(), kNothing);
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep", "new", "new/deeper"}));
  sandbox_.write("r/new/deeper/g", "1\n");
  EXPECT_EQ(seen(), kNames);
}

TEST_F(RepositoryWatchTest, AnIgnoredFolderThatComesIntoBeingIsNotWatched) {
  open();
  sandbox_.write("r/sub/build/x", "1\n");
  EXPECT_EQ(seen(), kNames);
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep"}));
}

TEST_F(RepositoryWatchTest, WhatIsIgnoredIsSaidByTheLastStatus) {
  open();
  sandbox_.write("r/.gitignore", "deep\n");
  sandbox_.git("r", {"rm", "-rq", "--cached", "sub/deep"});
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "build", "build/out"}));
}

TEST_F(RepositoryWatchTest, FoldersThatChangePlacesAreBothWatched) {
  sandbox_.write("r/other/deep/g", "1\n");
  open();
  ASSERT_EQ(::syscall(SYS_renameat2, AT_FDCWD, sandbox_.path("r/sub").c_str(), AT_FDCWD,
                      sandbox_.path("r/other").c_str(), RENAME_EXCHANGE),
            0);
  EXPECT_EQ(seen(), kNames);
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep", "other", "other/deep"}));
  for (const char* file : {"r/sub/deep/g", "r/other/deep/f"}) {
    sandbox_.write(file, "2\n");
    EXPECT_EQ(seen(), kStatus) << file;
  }
}

TEST_F(RepositoryWatchTest, AMovedFolderIsWatchedUnderItsNewName) {
  open();
  std::filesystem::rename(sandbox_.path("r/sub"), sandbox_.path("r/moved"));
  EXPECT_EQ(seen(), kNames);
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "moved", "moved/deep"}));
  sandbox_.write("r/moved/deep/f", "2\n");
  EXPECT_EQ(seen(), kStatus);
}

TEST_F(RepositoryWatchTest, AFolderThatMovesIntoANewOneIsWatchedThere) {
  open();
  sandbox_.write("r/new/f", "1\n");
  EXPECT_EQ(seen(), kNames);
  // It is found at its new place before its watch tells of the move.
  std::filesystem::rename(sandbox_.path("r/sub/deep"), sandbox_.path("r/new/deep"));
  follow();
  pumpAll(*watcher_, queues_);
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "new", "new/deep"}));
}

TEST_F(RepositoryWatchTest, WhereSomethingHasChangedIsTold) {
  open();
  places_.clear();
  sandbox_.write("r/sub/deep/f", "2\n");
  sandbox_.write("r/g", "1\n");
  seen();
  EXPECT_EQ(places_, (std::set<std::string>{"g", "sub/deep/f"}));
  places_.clear();
  sandbox_.write("r/new/f", "1\n");
  seen();
  EXPECT_EQ(places_, std::set<std::string>{"new"});
  places_.clear();
  follow();
  seen();
  EXPECT_EQ(places_, std::set<std::string>{"new"}) << "what happened there before went unseen";
  places_.clear();
  sandbox_.git("r", {"add", "g"});
  seen();
  EXPECT_EQ(places_, std::set<std::string>{""}) << "that may be anywhere";
}

TEST_F(RepositoryWatchTest, ADeletedFolderIsForgotten) {
  open();
  sandbox_.remove("r/sub");
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{"."}));
}

TEST_F(RepositoryWatchTest, WhatGitDoesIsSeen) {
  open();
  sandbox_.write("r/sub/deep/f", "2\n");
  settle();
  sandbox_.git("r", {"add", "-A"});
  EXPECT_EQ(seen(), kStatus);
  sandbox_.git("r", {"commit", "-q", "-m", "two"});
  EXPECT_EQ(seen(), (Change{true, true}));
  settle();
  sandbox_.git("r", {"tag", "v1"});
  EXPECT_EQ(seen(), kReferences);
  sandbox_.git("r", {"branch", "feature/x"});
  EXPECT_EQ(seen(), (Change{true, true}));
}

TEST_F(RepositoryWatchTest, ReferencesInNewFoldersAreSeen) {
  open();
  sandbox_.git("r", {"update-ref", "refs/remotes/origin/a/b", "HEAD"});
  EXPECT_EQ(seen(), kReferences);
  watch_->followReferences();
  seen();
  sandbox_.git("r", {"update-ref", "refs/remotes/origin/a/c", "HEAD"});
  EXPECT_EQ(seen(), kReferences);
}

// Keeping them costs no reading, neither now nor for the watches of their folders.
TEST_F(RepositoryWatchTest, WhatWasPutAsideIsNobodysBusiness) {
  open();
  for (const char* name : {"refs/kelpie/kept/main/00000001", "refs/kelpie/kept/main/00000002"}) {
    sandbox_.git("r", {"update-ref", name, "HEAD"});
    EXPECT_EQ(seen(), kNothing);
    follow();
    EXPECT_EQ(seen(), kNothing);
  }
}

TEST_F(RepositoryWatchTest, StashesAreSeen) {
  open();
  sandbox_.write("r/sub/deep/f", "2\n");
  sandbox_.git("r", {"stash", "-q"});
  sandbox_.write("r/sub/deep/f", "3\n");
  sandbox_.git("r", {"stash", "-q"});
  settle();
  sandbox_.git("r", {"stash", "drop", "-q", "stash@{1}"});
  EXPECT_TRUE(seen().references) << "although the newest is the same";
}

TEST_F(RepositoryWatchTest, ALinkedWorkingTreeSeesItsOwnIndex) {
  sandbox_.git("r", {"worktree", "add", "-q", "../linked"});
  open("linked");
  sandbox_.write("r/x", "1\n");
  sandbox_.git("r", {"add", "x"});
  EXPECT_EQ(seen(), kNothing) << "that was the other one's";
  sandbox_.git("linked", {"rm", "-q", "--cached", ".gitignore"});
  EXPECT_EQ(seen(), kStatus);
  sandbox_.git("r", {"branch", "b"});
  EXPECT_TRUE(seen().references);
}

TEST_F(RepositoryWatchTest, ChangesInASubmoduleAreSeen) {
  sandbox_.init("lib");
  sandbox_.write("lib/src/f", "1\n");
  sandbox_.commitAll("lib", "one");
  sandbox_.git("r", {"submodule", "--quiet", "add", "../lib", "lib"});
  open();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep", "lib", "lib/src"}));
  sandbox_.write("r/lib/src/f", "2\n");
  EXPECT_EQ(seen(), kStatus);
  settle();
  sandbox_.commitAll("r/lib", "two");
  EXPECT_EQ(seen(), kStatus);
}

TEST_F(RepositoryWatchTest, OfARepositoryThatIsNotPartOfThisOneOnlyItsBeingThereCounts) {
  sandbox_.init("r/nested");
  sandbox_.write("r/nested/src/f", "1\n");
  open();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep", "nested"}));
  sandbox_.write("r/nested/g", "1\n");
  EXPECT_EQ(seen(), kNothing);
  sandbox_.remove("r/nested/.git");
  EXPECT_EQ(seen(), kNames);
  settle();
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub", "sub/deep", "nested", "nested/src"}));
}

TEST_F(RepositoryWatchTest, WithoutUntrackedFilesOnlyTrackedFoldersAreWatched) {
  sandbox_.write("r/untracked/f", "1\n");
  sandbox_.git("r", {"config", "status.showUntrackedFiles", "no"});
  open();
  EXPECT_EQ(watched(), (std::set<std::string>{}));
  const auto reading = StatusReader(GitCommand("git", "/"), copy_).read();
  ASSERT_EQ(reading.index(), 0U);
  watch_->follow(*std::get<0>(reading),
                 std::vector<std::string>{sandbox_.path("r"), sandbox_.path("r/sub/deep")});
  EXPECT_EQ(seen(), kStatus);
  EXPECT_EQ(watched(), (std::set<std::string>{".", "sub/deep"}));
}

TEST_F(RepositoryWatchTest, WhenUntrackedFilesAreShownAgainAllFoldersAreWatched) {
  for (const bool atFirst : {true, false}) {
    sandbox_.git("r", {"config", "status.showUntrackedFiles", atFirst ? "no" : "all"});
    watch_.reset();
    open();
    sandbox_.git("r", {"config", "status.showUntrackedFiles", "no"});
    settle();
    const std::string folder = atFirst ? "some" : "more";
    sandbox_.write("r/" + folder + "/deep/f", "1\n");
    settle();
    sandbox_.git("r", {"config", "status.showUntrackedFiles", "all"});
    settle();
    EXPECT_TRUE(watched().contains(folder));
    EXPECT_TRUE(watched().contains(folder + "/deep"));
  }
}

TEST_F(RepositoryWatchTest, AFolderThatCouldNotBeReadForAMomentIsReadAgain) {
  open();
  sandbox_.write("r/new/deep/f", "1\n");
  seen();
  follow();
  {
    const FullTable full;
    pumpAll(*watcher_, queues_);
  }
  EXPECT_FALSE(watch_->isComplete());
  EXPECT_FALSE(watched().contains("new/deep"));
  EXPECT_TRUE(std::exchange(seen_, {}).status);
  settle();
  EXPECT_TRUE(watch_->isComplete());
  EXPECT_TRUE(watched().contains("new/deep"));
  EXPECT_EQ(limitsReached_, 0);
}

TEST_F(RepositoryWatchTest, TooManyFoldersAreSaidOnce) {
  for (int i = 0; i < 30; ++i) sandbox_.write("r/many/" + std::to_string(i) + "/f", "1\n");
  open("r", 20);
  EXPECT_EQ(limitsReached_, 1);
  EXPECT_FALSE(watch_->isComplete());
  EXPECT_EQ(watcher_->count(), 20U);
  sandbox_.makeFolder("r/more");
  settle();
  EXPECT_EQ(limitsReached_, 1);
}

// As the session of a working copy does that nobody has asked for.
TEST_F(RepositoryWatchTest, ItsOwnerMayLetGoOfItWhenThereAreTooManyFolders) {
  for (int i = 0; i < 30; ++i) sandbox_.write("r/many/" + std::to_string(i) + "/f", "1\n");
  watcher_ = std::make_unique<DirectoryWatcher>(20);
  copy_ = WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path("r")).workingCopy.value();
  bool isGone = false;
  watch_ = std::make_unique<RepositoryWatch>(
      *watcher_, copy_, queues_.mainQueue(), queues_.makeQueue("walks"),
      RepositoryWatch::Callbacks{
          [&isGone](const Change&, const std::string&) { EXPECT_FALSE(isGone); },
          [this, &isGone] {
            isGone = true;
            watch_.reset();
          }});
  follow();
  pumpAll(*watcher_, queues_);
  EXPECT_TRUE(isGone);
  EXPECT_EQ(watcher_->count(), 0U);
}

TEST_F(RepositoryWatchTest, ARepositoryThatGoesIsSeen) {
  open();
  std::filesystem::rename(sandbox_.path("r"), sandbox_.path("elsewhere"));
  EXPECT_TRUE(seen().status);
  sandbox_.write("elsewhere/f", "1\n");
  EXPECT_EQ(seen(), kNothing) << "it is another repository now";
}

TEST_F(RepositoryWatchTest, TheEndOfTheWatchEndsItsWatches) {
  open();
  EXPECT_GT(watcher_->count(), 0U);
  sandbox_.write("r/new/f", "1\n");
  pumpAll(*watcher_, queues_);
  follow();
  watch_.reset();  // with a walk under way
  pumpAll(*watcher_, queues_);
  EXPECT_EQ(watcher_->count(), 0U);
}

}  // namespace
}  // namespace kelpie::agent
