#include "status/ObservedPaths.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

const FileIdentifier kFolder(bytesOf("folder"));
const FileIdentifier kOther(bytesOf("other"));

TEST(ObservedPaths, ASetIsMadeOnceAndShared) {
  ObservedPaths paths;
  EXPECT_EQ(paths.find(kFolder), nullptr);
  const std::shared_ptr<PathSet> set = paths.findOrCreate(kFolder);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(paths.findOrCreate(kFolder), set);
  EXPECT_EQ(paths.find(kFolder), set);
  EXPECT_EQ(paths.find(kOther), nullptr);
}

TEST(ObservedPaths, ARemovedSetLivesOnWithItsOtherOwners) {
  ObservedPaths paths;
  const std::shared_ptr<PathSet> set = paths.findOrCreate(kFolder);
  set->add("/r/a");
  paths.remove(kFolder);
  EXPECT_EQ(paths.find(kFolder), nullptr);
  EXPECT_TRUE(set->contains("/r/a"));
  EXPECT_NE(paths.findOrCreate(kFolder), set);
}

TEST(ObservedPaths, SetPutsTheCallersOwnSetThereAndNullTakesItAway) {
  ObservedPaths paths;
  const auto set = std::make_shared<PathSet>();
  paths.set(kFolder, set);
  EXPECT_EQ(paths.find(kFolder), set);
  EXPECT_EQ(paths.sets(), std::vector<std::shared_ptr<PathSet>>{set});
  paths.set(kFolder, nullptr);
  EXPECT_TRUE(paths.sets().empty());
}

}  // namespace
}  // namespace kelpie
