#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "extension/ControllerFixture.h"
#include "extension/FolderRegistry.h"
#include "extension/MessageLink.h"
#include "foundation/ThreadBound.h"

namespace kelpie {
namespace {

// What belongs to a queue or a thread ends the process where it is called from elsewhere.
class QueueChecksDeathTest : public ControllerFixture {
 protected:
  void SetUp() override {
    if (!kThreadChecks) GTEST_SKIP() << "nothing is checked in this build";
    startWithApplication();
  }
};

TEST_F(QueueChecksDeathTest, WorkOnFoldersOutsideTheObserverQueue) {
  const auto link = std::make_shared<MessageLink>(fakes.platform());
  const auto registry = std::make_shared<FolderRegistry>(fakes.platform(), *defaults, link);
  const URL folder = fakes.files->addFolder("/work");
  EXPECT_DEATH(registry->beginObservingDirectoryAtURL(folder), "beginObservingDirectoryAtURL");
  registry->queue()->post([registry, folder] { registry->beginObservingDirectoryAtURL(folder); });
  fakes.runAll();
  EXPECT_EQ(registry->allObservedFiles()->sets().size(), 1U);
}

TEST_F(QueueChecksDeathTest, AMessageOnAnotherThreadThanTheControllers) {
  const auto handleElsewhere = [this] { std::thread([this] { handle("setState:", 1); }).join(); };
  EXPECT_DEATH(handleElsewhere(), "handleSelectorMessage");
}

}  // namespace
}  // namespace kelpie
