#include "linux/base/RegularFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

class RegularFileTest : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder.path() + "/" + name; }

  TemporaryFolder folder;
};

TEST_F(RegularFileTest, ReadsAFileAndALinkToOneUpToTheLimit) {
  std::ofstream(path("file")) << std::string(40'000, 'x');
  std::filesystem::create_symlink("file", path("link"));
  EXPECT_EQ(RegularFile::read(path("file"), 100'000), std::string(40'000, 'x'));
  EXPECT_EQ(RegularFile::read(path("link"), 20'000), std::string(20'000, 'x'));
}

TEST_F(RegularFileTest, NothingElseIsRead) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("pipe", path("link to pipe"));
  std::filesystem::create_directory(path("folder"));
  for (const char* name : {"pipe", "link to pipe", "folder", "missing"})
    EXPECT_EQ(RegularFile::read(path(name), 10), std::nullopt) << name;
}

}  // namespace
}  // namespace kelpie
