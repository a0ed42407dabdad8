#include "agent/watch/DirectoryWatcher.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/GitSandbox.h"
#include "support/linux/FullTable.h"

namespace kelpie::agent {
namespace {

using Event = DirectoryWatcher::Event;
using Outcome = DirectoryWatcher::Outcome;

class DirectoryWatcherTest : public testing::Test {
 protected:
  void SetUp() override {
    sandbox_.makeFolder("a/b");
    sandbox_.makeFolder("a/b-c");
    client_ = watcher_.addClient([this](const Event& event) { events_.push_back(event); });
  }

  // Delivers what has happened; events of this process are there at once.
  void deliver() {
    for (pollfd wait{watcher_.descriptor(), POLLIN, 0}; poll(&wait, 1, 0) == 1;)
      watcher_.dispatch();
  }

  bool saw(Event::Kind kind, const std::string& folder, const std::string& name) const {
    for (const Event& event : events_)
      if (event.kind == kind && event.folder == sandbox_.path(folder) && event.name == name)
        return true;
    return false;
  }

  GitSandbox sandbox_;
  DirectoryWatcher watcher_{100};
  DirectoryWatcher::Client client_ = 0;
  std::vector<Event> events_;
};

TEST_F(DirectoryWatcherTest, WithoutADescriptorAtFirstItWatchesFromTheNextOneOn) {
  std::optional<FullTable> full(std::in_place);
  DirectoryWatcher late(100);
  std::vector<Event> events;
  const auto client = late.addClient([&](const Event& event) { events.push_back(event); });
  EXPECT_FALSE(late.open());
  EXPECT_EQ(late.descriptor(), -1);
  full.reset();
  EXPECT_EQ(late.add(client, sandbox_.path("a")), Outcome::NotThere);
  EXPECT_TRUE(events.empty());
  ASSERT_TRUE(late.open());
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events.front().kind, Event::Kind::Lost);
  EXPECT_EQ(late.add(client, sandbox_.path("a")), Outcome::Watched);
  EXPECT_TRUE(late.open());
  EXPECT_EQ(events.size(), 1U);
  sandbox_.write("a/f", "1");
  late.dispatch();
  EXPECT_GT(events.size(), 1U);
}

TEST_F(DirectoryWatcherTest, TellsWhatHappensInAWatchedFolder) {
  ASSERT_EQ(watcher_.add(client_, sandbox_.path("a")), Outcome::Watched);
  sandbox_.write("a/f", "1");
  sandbox_.makeFolder("a/d");
  std::filesystem::rename(sandbox_.path("a/f"), sandbox_.path("a/g"));
  sandbox_.remove("a/d");
  sandbox_.write("a/b/unseen", "1");
  deliver();
  EXPECT_TRUE(saw(Event::Kind::Appeared, "a", "f"));
  EXPECT_TRUE(saw(Event::Kind::Changed, "a", "f"));
  EXPECT_TRUE(saw(Event::Kind::Gone, "a", "f"));
  EXPECT_TRUE(saw(Event::Kind::Appeared, "a", "g"));
  EXPECT_TRUE(saw(Event::Kind::Appeared, "a", "d"));
  EXPECT_TRUE(saw(Event::Kind::Gone, "a", "d"));
  for (const Event& event : events_) {
    EXPECT_EQ(event.folder, sandbox_.path("a"));
    EXPECT_EQ(event.isFolder, event.name == "d");
  }
}

TEST_F(DirectoryWatcherTest, ReadingTellsNothing) {
  sandbox_.write("a/f", "1");
  watcher_.add(client_, sandbox_.path("a"));
  EXPECT_EQ(sandbox_.read("a/f"), "1");
  deliver();
  EXPECT_TRUE(events_.empty());
}

// A mapping keeps the file in use after its descriptor is closed.
TEST_F(DirectoryWatcherTest, TellsOfWritesThroughAMappingWhenItEnds) {
  sandbox_.write("a/f", "1");
  ASSERT_EQ(watcher_.add(client_, sandbox_.path("a")), Outcome::Watched);
  const int file = open(sandbox_.path("a/f").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(file, 0);
  void* const mapping = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  ASSERT_NE(mapping, MAP_FAILED);
  close(file);
  *static_cast<char*>(mapping) = '2';
  munmap(mapping, 1);
  deliver();
  EXPECT_TRUE(saw(Event::Kind::Changed, "a", "f"));
}

TEST_F(DirectoryWatcherTest, TellsNoMoreThanAClientIsInterestedIn) {
  sandbox_.write("a/f", "1");
  const auto changes = [&](const std::string& text) {
    events_.clear();
    sandbox_.write("a/f", text);
    deliver();
    return events_.size();
  };
  using Interest = DirectoryWatcher::Interest;
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a"), Interest::Names), Outcome::Watched);
  EXPECT_EQ(changes("2"), 0U);
  sandbox_.makeFolder("a/d");
  deliver();
  EXPECT_TRUE(saw(Event::Kind::Appeared, "a", "d"));
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a"), Interest::Writes), Outcome::WatchedBefore);
  EXPECT_EQ(changes("3"), 1U);
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a"), Interest::Names), Outcome::WatchedBefore);
  EXPECT_EQ(changes("4"), 1U) << "nobody is told less when somebody else wants less";
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a")), Outcome::WatchedBefore);
  EXPECT_GT(changes("5"), 1U);
}

TEST_F(DirectoryWatcherTest, WatchingTwiceIsWatchingOnce) {
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a")), Outcome::Watched);
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a")), Outcome::WatchedBefore);
  EXPECT_EQ(watcher_.count(), 1U);
}

TEST_F(DirectoryWatcherTest, TwoClientsOfOneFolderBothHear) {
  int heard = 0;
  const auto other = watcher_.addClient([&](const Event&) { ++heard; });
  watcher_.add(client_, sandbox_.path("a"));
  EXPECT_EQ(watcher_.add(other, sandbox_.path("a")), Outcome::Watched);
  EXPECT_EQ(watcher_.count(), 1U);
  sandbox_.makeFolder("a/x");
  deliver();
  EXPECT_EQ(heard, 1);
  EXPECT_EQ(events_.size(), 1U);
  watcher_.removeClient(other);
  sandbox_.makeFolder("a/y");
  deliver();
  EXPECT_EQ(heard, 1);
  EXPECT_EQ(events_.size(), 2U);
}

TEST_F(DirectoryWatcherTest, RemovingAFolderRemovesWhatIsBelowAndNothingElse) {
  for (const char* folder : {"a", "a/b", "a/b-c"}) watcher_.add(client_, sandbox_.path(folder));
  sandbox_.makeFolder("a/b/c");
  watcher_.add(client_, sandbox_.path("a/b/c"));
  watcher_.removeWithin(client_, sandbox_.path("a/b"));
  EXPECT_EQ(watcher_.foldersOf(client_),
            (std::set<std::string>{sandbox_.path("a"), sandbox_.path("a/b-c")}));
  EXPECT_EQ(watcher_.count(), 2U);
}

TEST_F(DirectoryWatcherTest, AFolderThatGoesEndsItsWatch) {
  watcher_.add(client_, sandbox_.path("a/b"));
  sandbox_.remove("a/b");
  deliver();
  EXPECT_TRUE(saw(Event::Kind::FolderGone, "a/b", ""));
  EXPECT_EQ(watcher_.count(), 0U);
  EXPECT_TRUE(watcher_.foldersOf(client_).empty());
}

TEST_F(DirectoryWatcherTest, AFolderMadeAgainInTheSamePlaceIsWatchedAnew) {
  watcher_.add(client_, sandbox_.path("a/b"));
  sandbox_.remove("a/b");
  sandbox_.makeFolder("a/b");
  EXPECT_EQ(watcher_.add(client_, sandbox_.path("a/b")), Outcome::Watched);
  deliver();  // of the end of the former one, too
  EXPECT_EQ(watcher_.count(), 1U);
  sandbox_.write("a/b/f", "");
  deliver();
  EXPECT_TRUE(saw(Event::Kind::Appeared, "a/b", "f"));
}

TEST_F(DirectoryWatcherTest, WhatIsNoFolderIsNotWatched) {
  sandbox_.write("a/f", "");
  std::filesystem::create_symlink("b", sandbox_.path("a/link"));
  for (const char* path : {"a/f", "a/link", "a/missing"})
    EXPECT_EQ(watcher_.add(client_, sandbox_.path(path)), Outcome::NotThere) << path;
  EXPECT_EQ(watcher_.add(client_ + 1, sandbox_.path("a")), Outcome::NotThere) << "no such client";
}

TEST_F(DirectoryWatcherTest, TheLimitHolds) {
  DirectoryWatcher two(2);
  const auto client = two.addClient([](const Event&) {});
  EXPECT_EQ(two.add(client, sandbox_.path("a")), Outcome::Watched);
  EXPECT_EQ(two.add(client, sandbox_.path("a/b")), Outcome::Watched);
  EXPECT_EQ(two.add(client, sandbox_.path("a/b-c")), Outcome::LimitReached);
  EXPECT_EQ(two.add(client, sandbox_.path("a")), Outcome::WatchedBefore);
  two.removeWithin(client, sandbox_.path("a/b"));
  EXPECT_EQ(two.add(client, sandbox_.path("a/b-c")), Outcome::Watched);
}

TEST_F(DirectoryWatcherTest, AHandlerMayRemoveItsOwnClient) {
  DirectoryWatcher::Client own = 0;
  int calls = 0;
  own = watcher_.addClient([&](const Event&) {
    ++calls;
    watcher_.removeClient(own);
  });
  watcher_.add(own, sandbox_.path("a"));
  sandbox_.makeFolder("a/x");
  sandbox_.makeFolder("a/y");
  deliver();
  EXPECT_EQ(calls, 1);
}

TEST_F(DirectoryWatcherTest, LostEventsAreTold) {
  watcher_.add(client_, sandbox_.path("a"));
  // Different names, or the system makes one event of them.
  std::ifstream setting("/proc/sys/fs/inotify/max_queued_events");
  int room = 0;
  ASSERT_TRUE(setting >> room);
  const std::string files[] = {sandbox_.path("a/0"), sandbox_.path("a/1")};
  for (const std::string& file : files) std::ofstream(file) << "x";
  for (int i = 0; i <= room; ++i) chmod(files[i % 2].c_str(), 0600);
  deliver();
  bool lost = false;
  for (const Event& event : events_) lost |= event.kind == Event::Kind::Lost;
  EXPECT_TRUE(lost);
}

TEST_F(DirectoryWatcherTest, NamesAreBytes) {
  watcher_.add(client_, sandbox_.path("a"));
  sandbox_.makeFolder("a/line\nend\xff");
  deliver();
  EXPECT_TRUE(saw(Event::Kind::Appeared, "a", "line\nend\xff"));
}

TEST_F(DirectoryWatcherTest, TheSystemSaysHowManyAreAllowed) {
  EXPECT_GT(DirectoryWatcher::defaultLimit(), 0U);
}

}  // namespace
}  // namespace kelpie::agent
