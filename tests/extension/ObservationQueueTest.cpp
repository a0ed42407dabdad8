#include "extension/ObservationQueue.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "extension/ControllerFixture.h"
#include "status/KPRepository.h"
#include "status/ObservedPaths.h"

namespace kelpie {
namespace {

class ObservationQueueTest : public ControllerFixture {
 protected:
  void SetUp() override { startWithApplication(); }

  ManualQueue& queue() {
    return *fakes.queues.withLabel("org.kelpie.Kelpie.Sync.ObserverQueue").front();
  }

  std::string path(std::size_t number) const { return "/work/repo/" + std::to_string(number); }

  // Requests badges of the files with these numbers, which exist.
  void request(std::size_t from, std::size_t to) {
    for (std::size_t number = from; number < to; ++number)
      controller->requestBadgeIdentifierForURL(fakes.files->addFile(path(number)));
  }
};

TEST_F(ObservationQueueTest, RequestsInARowAreWorkedOffTogetherAndInOrder) {
  openRepository("/work/repo");
  request(0, 5);
  EXPECT_EQ(queue().pending(), 1U);
  fakes.events.clear();
  fakes.runAll();
  Lines wanted;
  for (std::size_t number = 0; number < 5; ++number)
    wanted.push_back("finder.badge KPCurrentBadge " + path(number));
  EXPECT_EQ(fakes.events.linesWith("finder.badge"), wanted);
}

TEST_F(ObservationQueueTest, TheFoldersOfManyRequestsAreLookedAtOnce) {
  openRepository("/work/repo");
  request(0, 100);
  fakes.files->forgetCounts();
  fakes.runAll();
  // The items; repo, work and the root; the git directory.
  EXPECT_EQ(fakes.files->lookUps(), 100U + 3U + 1U);
}

TEST_F(ObservationQueueTest, RequestsKeepTheirPlaceAmongOtherWork) {
  const URL folder = fakes.files->addFolder("/work/repo");
  request(0, 2);
  controller->endObservingDirectoryAtURL(folder);
  request(2, 4);
  EXPECT_EQ(queue().pending(), 3U);
  fakes.runAll();
  // What was requested before the end is forgotten by it, what came after is not.
  const auto paths = controller->allObservedFiles()->find(identifierOf(folder));
  ASSERT_NE(paths, nullptr);
  EXPECT_EQ(paths->size(), 2U);
  EXPECT_TRUE(paths->contains(path(2)));
  EXPECT_TRUE(paths->contains(path(3)));
}

TEST_F(ObservationQueueTest, RequestsAfterABatchHasRunMakeANewOne) {
  request(0, 1);
  fakes.runAll();
  request(1, 2);
  EXPECT_EQ(queue().pending(), 1U);
  fakes.runAll();
  const auto paths =
      controller->allObservedFiles()->find(identifierOf(URL::fileURLWithPath("/work/repo")));
  EXPECT_EQ(paths->size(), 2U);
}

TEST_F(ObservationQueueTest, ABatchIsBounded) {
  request(0, ObservationQueue::kMaximumBatch);
  EXPECT_EQ(queue().pending(), 1U);
  request(ObservationQueue::kMaximumBatch, ObservationQueue::kMaximumBatch + 1);
  EXPECT_EQ(queue().pending(), 2U);
  fakes.runAll();
  const auto paths =
      controller->allObservedFiles()->find(identifierOf(URL::fileURLWithPath("/work/repo")));
  EXPECT_EQ(paths->size(), ObservationQueue::kMaximumBatch + 1);
}

// A file manager whose first badge makes something happen meanwhile.
TEST_F(ObservationQueueTest, RepositoriesThatGoWhileABatchRunsSetNoMoreBadges) {
  class InterruptingFinder final : public FinderSyncController {
   public:
    explicit InterruptingFinder(FinderSyncController& finder) : finder_(finder) {}
    std::function<void()> interruption;

    void setBadgeImage(const Image& image, std::string_view label,
                       std::string_view identifier) override {
      finder_.setBadgeImage(image, label, identifier);
    }
    void setBadgeIdentifier(std::string_view identifier, const URL& url) override {
      finder_.setBadgeIdentifier(identifier, url);
      if (interruption) std::exchange(interruption, nullptr)();
    }
    std::vector<URL> directoryURLs() const override { return finder_.directoryURLs(); }
    void setDirectoryURLs(std::vector<URL> urls) override {
      finder_.setDirectoryURLs(std::move(urls));
    }
    std::vector<URL> selectedItemURLs() const override { return finder_.selectedItemURLs(); }
    std::optional<URL> targetedURL() const override { return finder_.targetedURL(); }

   private:
    FinderSyncController& finder_;
  };
  controller.reset();
  InterruptingFinder finder(fakes.finder);
  const Platform& real = fakes.platform();
  const Platform platform{finder,
                          real.messagePorts,
                          real.defaults,
                          real.entitlements,
                          real.applications,
                          real.processMonitors,
                          real.notifications,
                          real.files,
                          real.queues,
                          real.bundle,
                          real.limits,
                          real.log};
  controller = KPKelpieSync::create(platform, *defaults);
  openRepository("/work/repo");
  fakes.finder.forgetBadges();
  request(0, 3);
  finder.interruption = [&] {
    controller->setApplicationPid(-1);
    controller->setApplicationPid(kPid);
  };
  fakes.runAll();
  EXPECT_EQ(fakes.finder.badges(), (std::vector<FakeFinder::Badge>{{"KPCurrentBadge", path(0)},
                                                                   {"KPEmptyBadge", path(0)},
                                                                   {"KPEmptyBadge", path(1)},
                                                                   {"KPEmptyBadge", path(2)}}));
  controller.reset();
}

}  // namespace
}  // namespace kelpie
