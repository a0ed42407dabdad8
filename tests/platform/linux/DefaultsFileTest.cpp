#include "platform/linux/DefaultsFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "archive/PropertyList.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"
#include "support/linux/FailingCalls.h"

namespace kelpie {
namespace {

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string propertyListText(const Object& value) {
  const auto bytes = PropertyList::write(value);
  return bytes ? std::string(textOf(*bytes)) : "";
}

class DefaultsFileTest : public testing::Test {
 protected:
  std::optional<std::string> set(const std::string& key, const Object& value) const {
    return file.update([&](Dictionary& values) {
      values.set(key, value);
      return true;
    });
  }
  std::vector<std::string> namesInFolder() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(file.folder()))
      names.push_back(entry.path().filename());
    return names;
  }
  mode_t modeOf(const std::string& path) const {
    struct stat status = {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
  }

  TemporaryFolder folder;
  DefaultsFile file{folder / "config/kelpie/suite.plist"};
};

// -- The path ------------------------------------------------------------------------------------

TEST(DefaultsFilePath, IsBelowTheUsersConfiguration) {
  const EnvironmentVariable config("XDG_CONFIG_HOME", "/some/config");
  const auto file = DefaultsFile::ofSuite("group.org.kelpie");
  ASSERT_TRUE(file);
  EXPECT_EQ(file->path(), "/some/config/kelpie/group.org.kelpie.plist");
  EXPECT_EQ(file->folder(), "/some/config/kelpie");
}

TEST(DefaultsFilePath, IsBelowTheHomeFolderWhenNothingElseIsSaid) {
  const EnvironmentVariable home("HOME", "/home/somebody");
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative/path"}) {
    const EnvironmentVariable config("XDG_CONFIG_HOME", value);
    const auto file = DefaultsFile::ofSuite("suite");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->path(), "/home/somebody/.config/kelpie/suite.plist");
  }
}

TEST(DefaultsFilePath, ASuiteWhoseNameIsNoFileNameHasNone) {
  for (const std::string_view suite :
       {std::string_view(), std::string_view("../other"), std::string_view("a\0b", 3)})
    EXPECT_FALSE(DefaultsFile::ofSuite(suite)) << suite;
}

// -- Reading -------------------------------------------------------------------------------------

TEST_F(DefaultsFileTest, AMissingFileReadsAsEmpty) {
  const DefaultsFile::Reading reading = file.read();
  EXPECT_EQ(reading.problem, std::nullopt);
  EXPECT_TRUE(reading.values.empty());
  EXPECT_EQ(reading.stamp, DefaultsFile::Stamp());
  EXPECT_EQ(file.stamp(), DefaultsFile::Stamp());
}

TEST_F(DefaultsFileTest, AFileThatIsSeenButNotFoundIsNotTakenForMissing) {
  ASSERT_EQ(set("kept", 1), std::nullopt);
  DefaultsFile::Reading reading;
  withFailingCalls({SYS_openat}, ENOENT, [&] { reading = file.read(); });
  EXPECT_TRUE(reading.problem);
  EXPECT_TRUE(reading.isPassing);
}

TEST_F(DefaultsFileTest, ReadsABinaryPropertyListOfADictionary) {
  folder.addFile("config/kelpie/suite.plist",
                 propertyListText(Dictionary{{"name", "x"}, {"list", Objects{1, 2}}}));
  const DefaultsFile::Reading reading = file.read();
  EXPECT_EQ(reading.problem, std::nullopt);
  EXPECT_EQ(reading.values["name"].stringValue(), "x");
  EXPECT_EQ(reading.values["list"].at(1).integerValue(), 2);
  EXPECT_EQ(reading.stamp, file.stamp());
  EXPECT_NE(reading.stamp, DefaultsFile::Stamp());
}

TEST_F(DefaultsFileTest, WhatDoesNotParseIsAProblemAndHasNoValues) {
  const std::string whole = propertyListText(Dictionary{{"name", "x"}});
  const std::string cases[] = {"", "not a property list", whole.substr(0, whole.size() - 1),
                               propertyListText(Objects{Object("an array")})};
  for (const std::string& contents : cases) {
    folder.addFile("config/kelpie/suite.plist", contents);
    const DefaultsFile::Reading reading = file.read();
    EXPECT_EQ(reading.problem, file.path() + " does not hold settings") << contents;
    EXPECT_TRUE(reading.values.empty());
  }
}

TEST_F(DefaultsFileTest, WhatIsNoFileIsAProblemAndNobodyWaitsForIt) {
  folder.addFolder("config/kelpie/suite.plist");
  EXPECT_EQ(file.read().problem, file.path() + " is not a file");
  ASSERT_EQ(::rmdir(file.path().c_str()), 0);
  ASSERT_EQ(::mkfifo(file.path().c_str(), 0600), 0);
  EXPECT_EQ(file.read().problem, file.path() + " is not a file");
}

TEST_F(DefaultsFileTest, AFileThatIsTooLargeIsAProblem) {
  folder.addFile("config/kelpie/suite.plist");
  ASSERT_EQ(::truncate(file.path().c_str(), 17 << 20), 0);
  EXPECT_EQ(file.read().problem, file.path() + " is too large for settings");
}

TEST_F(DefaultsFileTest, AFileThatTakesTheFormerOnesPlaceHasAnotherStampWhileThatIsHeld) {
  ASSERT_EQ(set("n", 0), std::nullopt);
  for (int i = 1; i < 20; ++i) {
    const DefaultsFile::Reading former = file.read();
    ASSERT_EQ(set("n", i), std::nullopt);
    EXPECT_NE(file.stamp(), former.stamp);
  }
}

// -- Writing -------------------------------------------------------------------------------------

TEST_F(DefaultsFileTest, MakesItsFolderForItsUserAlone) {
  EXPECT_EQ(set("name", "x"), std::nullopt);
  EXPECT_EQ(modeOf(file.folder()), 0700U);
  EXPECT_EQ(modeOf(file.path()), 0600U);
  EXPECT_EQ(contentsOf(file.path()).substr(0, 8), "bplist00");
  EXPECT_EQ(file.read().values["name"].stringValue(), "x");
}

TEST_F(DefaultsFileTest, ReplacesTheFileInOneStepAndLeavesNothingElseBehind) {
  ASSERT_EQ(set("a", 1), std::nullopt);
  const UniqueFd former(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC));
  struct stat before = {};
  ASSERT_EQ(::fstat(former.get(), &before), 0);
  ASSERT_EQ(set("b", 2), std::nullopt);
  EXPECT_NE(file.stamp().inode, before.st_ino) << "whoever has the former one open reads it whole";
  EXPECT_EQ(file.read().values["a"].integerValue(), 1);
  EXPECT_EQ(file.read().values["b"].integerValue(), 2);
  EXPECT_EQ(namesInFolder(), std::vector<std::string>{"suite.plist"});
}

TEST_F(DefaultsFileTest, WritesNothingWhenNothingIsToBeChanged) {
  EXPECT_EQ(file.update([](Dictionary&) { return false; }), std::nullopt);
  EXPECT_EQ(file.stamp(), DefaultsFile::Stamp());
}

TEST_F(DefaultsFileTest, UpdatesOfManyWritersAllCount) {
  constexpr int kWriters = 4;
  constexpr int kRounds = 10;
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w)
    writers.emplace_back([this, w] {
      for (int i = 0; i < kRounds; ++i) {
        // Who waits too long for the others, on a slow machine, is told so and tries again.
        std::optional<std::string> problem;
        do problem = set(std::to_string(w) + "/" + std::to_string(i), i);
        while (problem && problem->ends_with("locked"));
        EXPECT_EQ(problem, std::nullopt);
      }
    });
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(file.read().values.size(), std::size_t{kWriters * kRounds});
}

TEST_F(DefaultsFileTest, AFileThatDoesNotParseIsNotReplaced) {
  folder.addFile("config/kelpie/suite.plist", "precious");
  EXPECT_EQ(set("a", 1), file.path() + " does not hold settings");
  EXPECT_EQ(contentsOf(file.path()), "precious");
}

TEST_F(DefaultsFileTest, WhatAPropertyListCannotHoldIsNotWritten) {
  ASSERT_EQ(set("a", 1), std::nullopt);
  EXPECT_EQ(set("b", URL::fileURLWithPath("/x", false)),
            "the settings of " + file.path() + " hold what a property list cannot");
  EXPECT_EQ(file.read().values.size(), 1U);
}

TEST_F(DefaultsFileTest, AFolderThatCannotBeMadeIsAProblem) {
  folder.addFile("config", "a file");
  EXPECT_EQ(set("a", 1), "cannot make " + (folder / "config") + ": File exists");
  const DefaultsFile readOnly("/proc/kelpie/suite.plist");
  EXPECT_EQ(readOnly.update([](Dictionary&) { return true; }),
            "cannot make /proc/kelpie: No such file or directory");
}

// A bound on the size of files that holds for its own life.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : formerAction_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &former_), 0);
    const rlimit limit = {bytes, former_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileSizeLimit() {
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &former_), 0);
    std::signal(SIGXFSZ, formerAction_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit former_ = {};
  void (*formerAction_)(int);
};

TEST_F(DefaultsFileTest, ADiskWithoutRoomLeavesTheFormerFile) {
  ASSERT_EQ(set("a", 1), std::nullopt);
  const std::string former = contentsOf(file.path());
  {
    const FileSizeLimit limit(16);
    EXPECT_EQ(set("b", std::string(5000, 'x')), "cannot write " + file.path() + ": File too large");
  }
  EXPECT_EQ(contentsOf(file.path()), former);
  EXPECT_EQ(namesInFolder(), std::vector<std::string>{"suite.plist"});
}

TEST_F(DefaultsFileTest, AWriterThatNeverEndsIsNotWaitedForForEver) {
  ASSERT_EQ(set("a", 1), std::nullopt);
  const UniqueFd other(::open(file.folder().c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  EXPECT_EQ(set("a", 2), "another program keeps " + file.folder() + " locked");
  EXPECT_EQ(file.read().values["a"].integerValue(), 1);
}

}  // namespace
}  // namespace kelpie
