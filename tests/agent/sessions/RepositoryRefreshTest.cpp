#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "agent/PeerFixture.h"
#include "agent/sessions/RepositorySession.h"

namespace kelpie::agent {
namespace {

// What an extension is told again because it shows one more folder of what it knows.
class RepositoryRefreshTest : public PeerFixture {
 protected:
  using Clock = std::chrono::steady_clock;

  // A working copy that is open, with so many folders, none of which is news.
  void openWithFolders(std::size_t folders) {
    sandbox_.init("r");
    sandbox_.write("r/.gitignore", "*\n");
    for (std::size_t i = 0; i < folders; ++i) sandbox_.write(folder(i) + "/f", "1\n");
    start();
    open("r", true);
    ASSERT_TRUE(waitForCount("setStatusInfo:", 1));
    settle();
    ports_.forgetSent();
  }
  static std::string folder(std::size_t number) { return "r/folder" + std::to_string(number); }
};

TEST_F(RepositoryRefreshTest, ForOneMoreFolderTheStatusIsToldAgain) {
  openWithFolders(1);
  open(folder(0), true);
  EXPECT_TRUE(waitForCount("setStatusInfo:", 1));
}

TEST_F(RepositoryRefreshTest, ForManyFoldersTheStatusIsToldOnceInAPause) {
  constexpr std::size_t kFolders = 200;
  openWithFolders(kFolders + 1);
  const std::size_t done = ports_.doneMessages();
  const Clock::time_point begun = Clock::now();
  for (std::size_t i = 0; i < kFolders; ++i) {
    open(folder(i), true);
    // What is still to be sent would take the place of the status before.
    ASSERT_TRUE(waitFor([&] {
      return ports_.doneMessages() == done + i + 1 && extensions_->connect(kPort)->waiting() == 0;
    }));
  }
  const auto pauses = (Clock::now() - begun) / RepositorySession::kRefreshPause;
  const std::size_t told = count("setStatusInfo:");
  EXPECT_LE(told, static_cast<std::size_t>(pauses) + 1);
  open(folder(kFolders), true);
  EXPECT_TRUE(waitForCount("setStatusInfo:", told + 1)) << "the last one counts, too";
}

}  // namespace
}  // namespace kelpie::agent
