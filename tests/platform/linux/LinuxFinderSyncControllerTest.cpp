#include "platform/linux/LinuxFinderSyncController.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/ManualQueues.h"

namespace kelpie {
namespace {

class LinuxFinderSyncControllerTest : public ::testing::Test {
 protected:
  LinuxFinderSyncControllerTest() {
    finder.setListener({[this](const auto& badges) {
                          for (const auto& [url, id] : badges) set.push_back(url.path() + " " + id);
                          ++batches;
                        },
                        [this] { ++directoryChanges; }});
  }
  static URL url(const std::string& path) { return URL::fileURLWithPath(path); }

  EventLog events;
  ManualQueues queues{events};
  LinuxFinderSyncController finder{queues.mainQueue()};
  std::vector<std::string> set;
  int batches = 0;
  int directoryChanges = 0;
};

TEST_F(LinuxFinderSyncControllerTest, BadgesAreHandedOnInOrderOnTheMainQueueInOneBatch) {
  finder.setBadgeIdentifier("KPCurrentBadge", url("/a"));
  finder.setBadgeIdentifier("", url("/b"));
  finder.setBadgeIdentifier("KPIgnoredBadge", url("/a"));
  EXPECT_TRUE(set.empty()) << "never on the thread that sets";
  queues.runAll();
  EXPECT_EQ(set, (std::vector<std::string>{"/a KPCurrentBadge", "/b ", "/a KPIgnoredBadge"}));
  EXPECT_EQ(batches, 1);
}

TEST_F(LinuxFinderSyncControllerTest, NothingIsLostWhenSeveralThreadsSetBadges) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 500; ++i)
        finder.setBadgeIdentifier(std::to_string(i), url("/" + std::to_string(t)));
    });
  }
  for (std::thread& thread : threads) thread.join();
  queues.runAll();
  ASSERT_EQ(set.size(), 2000U);
  std::map<std::string, int> next;
  for (const std::string& badge : set) {
    const auto space = badge.find(' ');
    EXPECT_EQ(std::to_string(next[badge.substr(0, space)]++), badge.substr(space + 1));
  }
}

TEST_F(LinuxFinderSyncControllerTest, ABadgeSetAfterTheListenerWentIsDropped) {
  finder.setBadgeIdentifier("KPCurrentBadge", url("/a"));
  finder.setListener({});
  queues.runAll();
  EXPECT_TRUE(set.empty());
}

TEST_F(LinuxFinderSyncControllerTest, FoldersAreToldOnAChangeOnly) {
  finder.setDirectoryURLs({url("/a"), url("/b")});
  queues.runAll();
  EXPECT_EQ(directoryChanges, 1);
  finder.setDirectoryURLs({url("/b"), url("/a"), url("/a")});
  queues.runAll();
  EXPECT_EQ(directoryChanges, 1) << "the same set";
  finder.setDirectoryURLs({});
  queues.runAll();
  EXPECT_EQ(directoryChanges, 2);
  EXPECT_TRUE(finder.directoryURLs().empty());
}

TEST_F(LinuxFinderSyncControllerTest, ARegisteredBadgeKeepsItsImageAndLabel) {
  finder.setBadgeImage(Image{"CurrentBadge"}, "", "KPCurrentBadge");
  finder.setBadgeImage(Image{"Other"}, "label", "KPCurrentBadge");
  const auto badges = finder.badges();
  ASSERT_EQ(badges.size(), 1U);
  EXPECT_EQ(badges.at("KPCurrentBadge").image, Image{"Other"});
  EXPECT_EQ(badges.at("KPCurrentBadge").label, "label");
}

}  // namespace
}  // namespace kelpie
