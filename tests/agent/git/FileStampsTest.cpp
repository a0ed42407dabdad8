#include "agent/git/FileStamps.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

class FileStampsTest : public testing::Test {
 protected:
  // Stamps of a file that is old enough to be told from what it becomes.
  static FileStamps settled(const std::string& file) {
    for (;;)
      if (FileStamps stamps({file}); stamps.stillHold()) return stamps;
  }

  TemporaryFolder folder_;
};

TEST_F(FileStampsTest, NothingIsKnownBeforeTheFirstLook) { EXPECT_FALSE(FileStamps().stillHold()); }

TEST_F(FileStampsTest, AFileThatIsRewrittenWithAnOldTimeIsSeen) {
  const std::string file = folder_.addFile("a", "one");
  const FileStamps stamps = settled(file);
  const auto time = std::filesystem::last_write_time(file);
  std::ofstream(file) << "two";
  std::filesystem::last_write_time(file, time);
  EXPECT_FALSE(stamps.stillHold());
}

TEST_F(FileStampsTest, AFileThatComesOrGoesIsSeen) {
  const FileStamps missing({folder_ / "a"});
  EXPECT_TRUE(missing.stillHold());
  const std::string file = folder_.addFile("a", "one");
  EXPECT_FALSE(missing.stillHold());
  const FileStamps stamps = settled(file);
  std::filesystem::remove(file);
  EXPECT_FALSE(stamps.stillHold());
}

TEST_F(FileStampsTest, WhatLiesInAFolderIsNoneOfItsOwn) {
  const FileStamps stamps({folder_.path()});
  folder_.addFile("a", "one");
  EXPECT_TRUE(stamps.stillHold());
}

}  // namespace
}  // namespace kelpie::agent
