#include "agent/sessions/EarlyFolders.h"

#include <gtest/gtest.h>

namespace kelpie::agent {
namespace {

using Folders = std::vector<std::string>;

TEST(EarlyFolders, AreTakenOnce) {
  EarlyFolders early("/work");
  EXPECT_FALSE(early.isEcho("/work/b"));
  EXPECT_FALSE(early.isEcho("/work/a"));
  EXPECT_FALSE(early.isEcho("/work/a"));
  EXPECT_EQ(early.beginSecondLooks(), (Folders{"/work/a", "/work/b"}));
  EXPECT_EQ(early.beginSecondLooks(), Folders{});
}

TEST(EarlyFolders, LeaveTheRootOut) {
  EarlyFolders early("/work");
  EXPECT_FALSE(early.isEcho("/work"));
  EXPECT_EQ(early.beginSecondLooks(), Folders{});
}

TEST(EarlyFolders, ComeBackAsEchoesOnce) {
  EarlyFolders early("/work");
  early.isEcho("/work/a");
  early.beginSecondLooks();
  EXPECT_TRUE(early.isEcho("/work/a"));
  EXPECT_FALSE(early.isEcho("/work/a"));
}

TEST(EarlyFolders, AreThoseBeforeTheLastEcho) {
  EarlyFolders early("/work");
  early.isEcho("/work/a");
  early.isEcho("/work/b");
  early.beginSecondLooks();
  EXPECT_TRUE(early.isEcho("/work/a"));
  EXPECT_FALSE(early.isEcho("/work/c"));
  EXPECT_EQ(early.beginSecondLooks(), Folders{"/work/c"});
  EXPECT_TRUE(early.isEcho("/work/b"));
  EXPECT_TRUE(early.isEcho("/work/c"));
  EXPECT_FALSE(early.isEcho("/work/d"));
  EXPECT_EQ(early.beginSecondLooks(), Folders{});
}

// The extension may have asked about the root by itself meanwhile, before it was told.
TEST(EarlyFolders, DoNotEndWithTheEchoOfWhatWasNotAskedAbout) {
  EarlyFolders early("/r");
  early.lookAgain("/r");
  EXPECT_EQ(early.beginSecondLooks(), Folders{"/r"});
  EXPECT_TRUE(early.isEcho("/r"));
  EXPECT_FALSE(early.isEcho("/r/a"));
  EXPECT_EQ(early.beginSecondLooks(), Folders{"/r/a"});
  EXPECT_TRUE(early.isEcho("/r/a"));
  EXPECT_FALSE(early.isEcho("/r/b"));
  EXPECT_EQ(early.beginSecondLooks(), Folders{});
}

TEST(EarlyFolders, AreTakenAgainAfterALoss) {
  EarlyFolders early("/work");
  early.isEcho("/work/a");
  early.isEcho("/work/b");
  early.beginSecondLooks();
  EXPECT_TRUE(early.isEcho("/work/b"));
  early.tellAgain();
  EXPECT_EQ(early.beginSecondLooks(), Folders{"/work/a"});
}

TEST(EarlyFolders, BeginAnewWithAnExtensionThatHasForgotten) {
  EarlyFolders early("/work");
  early.isEcho("/work/a");
  early.beginSecondLooks();
  early.isEcho("/work/a");
  early.isEcho("/work/b");
  early.reset();
  EXPECT_FALSE(early.isEcho("/work/a"));
  EXPECT_EQ(early.beginSecondLooks(), Folders{"/work/a"});
}

TEST(EarlyFolders, AreBounded) {
  EarlyFolders early("/work");
  for (std::size_t i = 0; i < EarlyFolders::kMaximum + 10; ++i)
    early.isEcho("/work/" + std::to_string(i));
  EXPECT_EQ(early.beginSecondLooks().size(), EarlyFolders::kMaximum);
}

}  // namespace
}  // namespace kelpie::agent
