#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "cli/commands/FolderWatch.h"
#include "foundation/ThreadBound.h"
#include "support/TemporaryFolder.h"

namespace kelpie::cli {
namespace {

TEST(FolderWatchDeathTest, ACallFromAnotherThreadEndsTheProcess) {
  if (!kThreadChecks) GTEST_SKIP() << "nothing is checked in this build";
  const TemporaryFolder folder;
  FolderWatch watch(folder.path());
  const auto askElsewhere = [&] { std::thread([&] { watch.newNames(); }).join(); };
  EXPECT_DEATH(askElsewhere(), "newNames");
  EXPECT_EQ(watch.newNames(), std::vector<std::string>());
}

}  // namespace
}  // namespace kelpie::cli
