#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "refs/KPRefsManager.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"
#include "status/RepositoryFixture.h"
#include "support/FakePlatform.h"
#include "support/InterruptedFileSystem.h"
#include "support/ThreadedQueues.h"

namespace kelpie {
namespace {

URL url(std::string_view path) { return URL::fileURLWithPath(path); }

// A repository on queues that run by themselves.
struct LiveRepository {
  LiveRepository() {
    platform.files->addFolder("/r/.git");
    for (int folder = 0; folder < 4; ++folder) {
      for (int i = 0; i < 10; ++i) {
        const std::string path = "/r/d" + std::to_string(folder) + "/f" + std::to_string(i);
        items.push_back(platform.files->addFile(path));
      }
      folders.push_back(url("/r/d" + std::to_string(folder)));
    }
    platform.groupDefaults().changeFromOutside(kShowFolderGitStatusKey, true);
    repository = KPRepository::create(url("/r"), url("/r/.git"), observedPaths, platform.platform(),
                                      settings);
  }

  Dictionary statusInfo(int word) const {
    Dictionary entries;
    Objects dirty;
    for (const URL& item : items) {
      entries.set(Object(*item.identifier()), Objects{word, item.path()});
      dirty.emplace_back(item);
    }
    return {{"KPRepositoryStatus", entries},
            {"KPStatusDirtyURLs", dirty},
            {"KPStatusIgnoredURLs", Objects{url("/r/d3")}},
            {"KPStatusObservedPathsForRenamedItems",
             Dictionary{{Object(*url("/r/d1").identifier()), Objects{"/r/d1/renamed"}}}}};
  }

  ThreadedQueues queues;
  FakePlatform platform{queues};
  KPUserDefaults settings{platform.platform()};
  std::vector<URL> items;
  std::vector<URL> folders;
  std::shared_ptr<ObservedPaths> observedPaths = std::make_shared<ObservedPaths>();
  std::shared_ptr<KPRepository> repository;
};

// The main application sends, the file manager asks for badges, and the user opens menus, all at
// once. What counts is that the thread sanitizer finds nothing, and that in the end every badge is
// that of the last status.
TEST(StatusThreads, StatusBadgesAndMenusAtOnce) {
  LiveRepository live;
  constexpr int kRounds = 60;
  std::thread status([&live] {
    for (int i = 0; i < kRounds; ++i) {
      live.repository->setStatusInfo(live.statusInfo(i % 2 == 0 ? 0x0080 : 0x0100));
      live.repository->updateStagedStatus(Objects{live.items[0], live.items[15]});
      live.repository->updateUnstagedStatus(Objects{live.items[0]});
      live.repository->setDirtyUrls(Objects{live.items[1]});
      live.repository->setGitUrl(url("/r/.git"));
    }
    live.repository->setStatusInfo(live.statusInfo(0x0200));
  });
  std::thread badges([&live] {
    for (int i = 0; i < kRounds; ++i) {
      for (const URL& item : live.items) live.repository->addObservedURL(item);
      for (const URL& folder : live.folders) live.repository->addObservedURL(folder);
    }
  });
  // The main thread: menus, and the messages that need no queue of their own.
  std::size_t answers = 0;
  for (int i = 0; i < kRounds; ++i) {
    live.repository->refsManager()->setBare(false);
    for (const URL& item : live.items) {
      const std::optional<StatusWord> word = live.repository->statusOfItemAtURL(item);
      answers += word && isUnstagedStatus(*word) ? 1 : 0;
    }
    answers += live.repository->isDirty() || live.repository->isRealDirty() ? 1 : 0;
    answers +=
        live.repository->state() == 0 && live.repository->refsManager()->headBranch() == nullptr
            ? 1
            : 0;
    live.repository->updateBadges(
        Dictionary{{"urls", Objects{url("/r/elsewhere")}}, {"badge", "KPIgnoredBadge"}});
  }
  EXPECT_GT(answers, 0U);
  status.join();
  badges.join();
  live.queues.waitUntilIdle();
  for (const URL& item : live.items)
    EXPECT_EQ(live.platform.finder.badgeFor(item.path()), "KPWorkdirDeletedBadge") << item.path();
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_EQ(live.platform.finder.badgeFor(live.folders[i].path()), "KPWorkdirDeletedBadge");
}

// -- A status that comes in while a badge is being set --------------------------------------------

// Lets something happen between the choice of the first badge and its being set.
class InterruptedFinder final : public FinderSyncController {
 public:
  void setBadgeImage(const Image&, std::string_view, std::string_view) override {}
  void setBadgeIdentifier(std::string_view badge, const URL&) override {
    if (interrupt) std::exchange(interrupt, nullptr)();
    badges.emplace_back(badge);
  }
  std::vector<URL> directoryURLs() const override { return {}; }
  void setDirectoryURLs(std::vector<URL>) override {}
  std::vector<URL> selectedItemURLs() const override { return {}; }
  std::optional<URL> targetedURL() const override { return std::nullopt; }

  std::function<void()> interrupt;
  std::vector<std::string> badges;
};

TEST_F(RepositoryFixture, ABadgeChosenBeforeAStatusDoesNotOutliveIt) {
  file("/r/a");
  InterruptedFinder finder;
  const Platform& all = platform.platform();
  const Platform interrupted{
      finder,           all.messagePorts,    all.defaults,      all.entitlements,
      all.applications, all.processMonitors, all.notifications, all.files,
      all.queues,       all.bundle,          all.limits,        all.log};
  repository =
      KPRepository::create(url("/r"), url("/r/.git"), observedPaths, interrupted, settings);
  send(statusInfo({}));
  finder.interrupt = [this] { send(statusInfo({{"/r/a", 0x0100}})); };
  repository->addObservedURL(url("/r/a"));
  EXPECT_EQ(finder.badges, (std::vector<std::string>{"KPWorkdirModifiedBadge", "KPCurrentBadge",
                                                     "KPWorkdirModifiedBadge"}));
  EXPECT_EQ(word("/r/a"), 0x0100) << "the entry that came is not replaced by the one recorded";
  repository = nullptr;
}

class Interrupted : public RepositoryFixture {
 protected:
  void SetUp() override {
    interrupted = std::make_unique<Platform>(platform.platformWith(finder));
    repository =
        KPRepository::create(url("/r"), url("/r/.git"), observedPaths, *interrupted, settings);
    showFolderStatus(true);
  }
  void TearDown() override { repository = nullptr; }

  InterruptedFinder finder;
  std::unique_ptr<Platform> interrupted;
};

TEST_F(Interrupted, AFolderThatIsWorkedOutMeanwhileMakesNoBadgeTwice) {
  file("/r/a");
  file("/r/d/b");
  file("/r/e/c");
  send(statusInfo({{"/r/d/b", 0x0100}}));
  repository->addObservedURL(url("/r/d"));
  finder.interrupt = [this] { platform.runAll(); };
  repository->addObservedURLs(std::vector<URL>{url("/r/a"), url("/r/e")});
  platform.runAll();
  EXPECT_EQ(finder.badges, (std::vector<std::string>{"KPWorkdirModifiedBadge", "KPCurrentBadge",
                                                     "KPCurrentBadge"}))
      << "one for each item";
}

TEST_F(Interrupted, AFoldersFormerEntryDoesNotOutliveTheNewOne) {
  file("/r/d/b");
  file("/r/d/c");
  send(statusInfo({{"/r/d/b", 0x0080}}));
  repository->addObservedURL(url("/r/d"));
  platform.runAll();
  ASSERT_EQ(word("/r/d"), 0x0080);
  repository->addObservedURL(url("/r/d/c"));  // it counts from now on, as unchanged
  finder.badges.clear();
  finder.interrupt = [this] {
    repository->updateStatusOfDirectoryURL(url("/r/d"));
    platform.runAll();
  };
  repository->addObservedURL(url("/r/d"));
  EXPECT_EQ(word("/r/d"), 0x0100);
  ASSERT_FALSE(finder.badges.empty());
  EXPECT_EQ(finder.badges.back(), "KPWorkdirModifiedBadge");
}

TEST_F(Interrupted, WhatRestsOnAFormerStatusIsNotRecordedInTheNewOne) {
  file("/r/out/a");
  Dictionary status = statusInfo({});
  status.set("KPStatusIgnoredURLs", urls({"/r/out"}));
  send(status);
  InterruptedFileSystem files(*platform.files);
  files.path = "/r/out";
  files.interrupt = [this] { send(statusInfo({})); };
  repository->addObservedURL(url("/r/out/a"), files);
  EXPECT_EQ(word("/r/out/a"), 0) << "it is not ignored any more";
  EXPECT_EQ(finder.badges.back(), "KPCurrentBadge");
}

TEST_F(Interrupted, AFolderAskedForWhileAStatusComesInShowsThatStatus) {
  file("/r/d/b");
  send(statusInfo({}));
  InterruptedFileSystem files(*platform.files);
  files.path = "/r/d";
  files.interrupt = [this] { send(statusInfo({{"/r/d/b", 0x0100}})); };
  repository->addObservedURL(url("/r/d"), files);
  platform.runAll();
  EXPECT_EQ(word("/r/d"), 0x0100);
  EXPECT_EQ(finder.badges.back(), "KPWorkdirModifiedBadge");
}

TEST_F(Interrupted, AFolderAskedForWhileItComesToBeIgnoredStaysSo) {
  file("/r/d/b");
  send(statusInfo({}));
  InterruptedFileSystem files(*platform.files);
  files.path = "/r/.git";  // looked at when no entry was found
  files.interrupt = [this] { send(statusInfo({{"/r/d", KPStatusIgnored}})); };
  repository->addObservedURL(url("/r/d"), files);
  platform.runAll();
  EXPECT_EQ(word("/r/d"), KPStatusIgnored);
  EXPECT_EQ(finder.badges.back(), "KPIgnoredBadge");
}

// -- The search that never ends -------------------------------------------------------------------

// In a process of its own, since a queue is lost: stages an item again and again until its word is
// without any bit, and checks that another repository goes on. `entry` is the item's own.
void loseAQueue(const Object& entry, int stagings) {
  LiveRepository lost;
  ThreadedQueues& queues = lost.queues;
  const URL item = lost.items[0];
  lost.repository->setStatus(Dictionary{{Object(*item.identifier()), entry}});
  const auto other = KPRepository::create(url("/r"), url("/r/.git"), nullptr,
                                          lost.platform.platform(), lost.settings);
  queues.waitUntilIdle();
  for (int i = 0; i < stagings; ++i) lost.repository->updateStagedStatus(Objects{item});
  std::promise<void> after;
  std::future<void> reached = after.get_future();
  lost.repository->updateQueue()->post([&after] { after.set_value(); });
  const bool hangs =
      reached.wait_for(std::chrono::milliseconds(300)) == std::future_status::timeout;

  std::promise<void> taken;
  other->setStatusInfo(lost.statusInfo(0x0100));
  other->updateQueue()->post([&taken] { taken.set_value(); });
  taken.get_future().wait();
  const bool othersGoOn = other->isUnstagedItemAtURL(item);
  // Menus and badges of the lost one still answer: the thread holds no lock.
  const bool answers = lost.repository->statusOfItemAtURL(lost.items[1]) == std::nullopt;
  lost.repository->addObservedURL(lost.items[1]);
  std::_Exit((hangs ? 1 : 0) + (othersGoOn && answers ? 2 : 0));
}

TEST(StatusThreads, StagingOnceTooOftenLosesTheRepositorysQueueAndNoOther) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Object modified = Objects{0x0100, "x"};
  EXPECT_EXIT(loseAQueue(modified, 2), testing::ExitedWithCode(2), "") << "0x0002, then 0";
  EXPECT_EXIT(loseAQueue(modified, 3), testing::ExitedWithCode(3), "");
  EXPECT_EXIT(loseAQueue(Objects{0, "x"}, 1), testing::ExitedWithCode(3), "") << "the word 0";
  EXPECT_EXIT(loseAQueue(Objects{}, 1), testing::ExitedWithCode(3), "") << "an empty array";
  EXPECT_EXIT(loseAQueue(Object(5), 1), testing::ExitedWithCode(2), "") << "no array: no entry";
}

}  // namespace
}  // namespace kelpie
