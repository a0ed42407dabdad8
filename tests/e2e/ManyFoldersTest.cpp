#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "e2e/ProgramsFixture.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

// A window on very many folders costs what it must and no more.
class ManyFolders : public ProgramsFixture {
 protected:
  // A number from /proc/PID/status, such as "Threads", or "VmRSS" in KiB.
  static long statusNumber(const ChildProcess& program, const std::string& name) {
    std::ifstream file("/proc/" + std::to_string(program.pid()) + "/status");
    for (std::string word; file >> word;)
      if (long value = -1; word == name + ":" && file >> value) return value;
    return -1;
  }
  static void expectModest(const ChildProcess& program) {
    constexpr long kThreads = 40;
    constexpr long kMemory = 128L * 1024;
    EXPECT_LT(statusNumber(program, "Threads"), kThreads);
    EXPECT_GT(statusNumber(program, "VmRSS"), 0);
    // A sanitizer takes a multiple of what the program takes.
    if (kHasAddressSanitizer || kHasThreadSanitizer) return;
    EXPECT_LT(statusNumber(program, "VmRSS"), kMemory);
  }
};

TEST_F(ManyFolders, AThousandOfOneRepositoryAreServed) {
  constexpr int kFolders = 1000;
  const std::string repository = session.addRepository("r");
  const auto folder = [](int i) { return "r/folder" + std::to_string(i); };
  for (int i = 0; i < kFolders; ++i) session.home().addFile(folder(i) + "/file", "1");
  session.git("r", {"add", "-A"});
  session.git("r", {"commit", "-q", "-m", "Many"});
  startWith(repository, repository + "/file.txt", "KPCurrentBadge");
  for (int i = 0; i < kFolders; ++i) host().show(session.home() / folder(i));
  for (int i = 0; i < kFolders; ++i)
    ASSERT_TRUE(host().sees(session.home() / folder(i) + "/file", "KPCurrentBadge"));
  for (const int i : {0, 499, 999}) {
    session.append(folder(i) + "/file", "changed");
    EXPECT_TRUE(host().sees(session.home() / folder(i) + "/file", "KPWorkdirModifiedBadge"));
  }
  expectModest(*agent);
  expectModest(*sync);
  EXPECT_EQ(agent->errors() + sync->errors(), "");
}

TEST_F(ManyFolders, SixtyRepositoriesAreServed) {
  constexpr int kRepositories = 60;
  const auto name = [](int i) { return "r" + std::to_string(i); };
  const std::string first = session.addRepository(name(0));
  for (int i = 1; i < kRepositories; ++i)
    std::filesystem::copy(first, session.home() / name(i),
                          std::filesystem::copy_options::recursive);
  start({session.home().path()});
  for (int i = 0; i < kRepositories; ++i) host().show(session.home() / name(i));
  for (int i = 0; i < kRepositories; ++i)
    ASSERT_TRUE(host().sees(session.home() / name(i) + "/file.txt", "KPCurrentBadge")) << i;
  for (int i = 0; i < kRepositories; ++i) session.append(name(i) + "/file.txt", "changed");
  for (int i = 0; i < kRepositories; ++i)
    ASSERT_TRUE(host().sees(session.home() / name(i) + "/file.txt", "KPWorkdirModifiedBadge")) << i;
  expectModest(*agent);
  expectModest(*sync);
  EXPECT_EQ(agent->errors() + sync->errors(), "");
}

}  // namespace
}  // namespace kelpie
