#include "status/BadgeSetter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <optional>
#include <thread>

#include "support/EventLog.h"
#include "support/FakeFinder.h"

namespace kelpie {
namespace {

// Lets something happen while it is handed a badge.
class SlowFinder final : public FinderSyncController {
 public:
  void setBadgeImage(const Image&, std::string_view, std::string_view) override {}
  void setBadgeIdentifier(std::string_view, const URL&) override {
    meanwhile();
    ++badges;
  }
  std::vector<URL> directoryURLs() const override { return {}; }
  void setDirectoryURLs(std::vector<URL>) override {}
  std::vector<URL> selectedItemURLs() const override { return {}; }
  std::optional<URL> targetedURL() const override { return std::nullopt; }

  std::function<void()> meanwhile = [] {};
  std::atomic<int> badges = 0;
};

const URL kItem = URL::fileURLWithPath("/r/a");

TEST(BadgeSetter, SetsBadgesUntilItIsStopped) {
  EventLog events;
  FakeFinder finder(events);
  BadgeSetter setter(finder);
  setter.set("KPCurrentBadge", kItem);
  EXPECT_FALSE(setter.isStopped());
  setter.stop();
  EXPECT_TRUE(setter.isStopped());
  setter.set("KPIgnoredBadge", kItem);
  setter.stop();
  EXPECT_EQ(finder.badges(), (std::vector<FakeFinder::Badge>{{"KPCurrentBadge", "/r/a"}}));
}

TEST(BadgeSetter, ABadgeThatIsBeingSetIsSetBeforeStopReturns) {
  SlowFinder finder;
  BadgeSetter setter(finder);
  std::promise<void> isSetting;
  std::promise<void> goOn;
  finder.meanwhile = [&] {
    isSetting.set_value();
    goOn.get_future().wait();
  };
  std::thread other([&] { setter.set("KPCurrentBadge", kItem); });
  isSetting.get_future().wait();
  std::atomic<int> atStop = -1;
  std::thread stopping([&] {
    setter.stop();
    atStop = finder.badges.load();
  });
  while (!setter.isStopped()) std::this_thread::yield();
  EXPECT_EQ(atStop, -1) << "it waits";
  goOn.set_value();
  other.join();
  stopping.join();
  EXPECT_EQ(atStop, 1);
}

TEST(BadgeSetter, AFileManagerThatStopsItWhileItIsHandedABadgeDoesNotWaitForItself) {
  SlowFinder finder;
  BadgeSetter setter(finder);
  finder.meanwhile = [&] { setter.stop(); };
  setter.set("KPCurrentBadge", kItem);
  setter.set("KPIgnoredBadge", kItem);
  EXPECT_EQ(finder.badges, 1);
}

}  // namespace
}  // namespace kelpie
