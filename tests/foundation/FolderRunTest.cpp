#include "foundation/FolderRun.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(FolderRun, GoesOnWithNeighboursOnly) {
  FolderRun run;
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/r/a")));
  EXPECT_TRUE(run.goesOnWith(URL::fileURLWithPath("/r/b", true)));
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/r/b/c")));
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/r/a")));
  EXPECT_TRUE(run.goesOnWith(URL::fileURLWithPath("/r/a")));
}

TEST(FolderRun, TheRootIsNoNeighbourOfWhatLiesInIt) {
  FolderRun run;
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/")));
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/")));
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/a")));
  EXPECT_TRUE(run.goesOnWith(URL::fileURLWithPath("/b")));
}

TEST(FolderRun, OtherURLsEndIt) {
  FolderRun run;
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/r/a")));
  EXPECT_FALSE(run.goesOnWith(*URL::fromString("http://host/r/b")));
  EXPECT_FALSE(run.goesOnWith(*URL::fromString("http://host/r/b")));
  EXPECT_FALSE(run.goesOnWith(URL::fileURLWithPath("/r/a")));
}

}  // namespace
}  // namespace kelpie
