#include "linux/base/SocketFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// Whether a thread of this process waits for something.
bool sleeps(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t nameEnd = line.rfind(')');
  return nameEnd != std::string::npos && line.substr(nameEnd).starts_with(") S");
}

class SocketFilesTest : public testing::Test {
 protected:
  bool make() { return static_cast<bool>(std::ofstream(path)); }

  TemporaryFolder folder;
  std::string path = folder / "socket";
  SocketFiles files;
};

TEST_F(SocketFilesTest, WhatWasMadeIsRemovedAtTheEnd) {
  files.add(path, [&] { return make(); });
  ASSERT_TRUE(fs::exists(path));
  files.removeAllForGood();
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(SocketFilesTest, AFileThatCouldNotBeMadeIsLeftToItsOwner) {
  ASSERT_TRUE(make());  // another process's
  files.add(path, [] { return false; });
  files.removeAllForGood();
  EXPECT_TRUE(fs::exists(path));
}

TEST_F(SocketFilesTest, WhatWasRemovedIsNotRemovedAgain) {
  files.add(path, [&] { return make(); });
  files.remove(path);
  EXPECT_FALSE(fs::exists(path));
  ASSERT_TRUE(make());  // another process's
  files.removeAllForGood();
  EXPECT_TRUE(fs::exists(path));
}

TEST_F(SocketFilesTest, NothingIsMadeAfterTheEnd) {
  files.removeAllForGood();
  files.add(path, [&] { return make(); });
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(SocketFilesTest, AnEndWaitsForTheFileThatIsBeingMade) {
  std::thread end;
  std::atomic<pid_t> endsThread = 0;
  std::atomic<bool> hasEnded = false;
  bool isLeft = true;
  files.add(path, [&] {
    EXPECT_TRUE(make());
    end = std::thread([&] {
      endsThread = ::gettid();
      files.removeAllForGood();
      // A process would be gone here, and with it whoever makes the file.
      isLeft = fs::exists(path);
      hasEnded = true;
    });
    while (!hasEnded && (endsThread == 0 || !sleeps(endsThread))) std::this_thread::yield();
    return true;
  });
  end.join();
  EXPECT_FALSE(isLeft);
}

}  // namespace
}  // namespace kelpie
