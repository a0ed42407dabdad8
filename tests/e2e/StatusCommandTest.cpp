#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

// `kelpie status` and `kelpie do` with what only the main application knows.
class StatusCommand : public ProgramsFixture {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };
  Result kelpie(const std::vector<std::string>& words) {
    const auto process = session.start("kelpie", words);
    const auto status = process->waitForEnd();
    return {status.value_or(-1), process->output(), process->errors()};
  }
  StatusCommand() { session.setVariable("LC_ALL", "C.UTF-8"); }

  const std::string repository = session.addRepository("r", {"file.txt", "src/a.c", "src/b.c"});
  const std::string file = repository + "/file.txt";
};

TEST_F(StatusCommand, TheHeadLineTellsBranchDistanceAndWhatIsUnderWay) {
  session.git("", {"init", "-q", "--bare", "origin.git"});
  session.git("r", {"remote", "add", "origin", session.home() / "origin.git"});
  session.append("r/file.txt", "there");
  session.git("r", {"commit", "-q", "-a", "-m", "There"});
  session.git("r", {"push", "-q", "-u", "origin", "main"});
  session.git("r", {"reset", "-q", "--hard", "HEAD~1"});
  session.append("r/file.txt", "here");
  session.git("r", {"commit", "-q", "-a", "-m", "Here"});
  startWith(repository, file, "KPCurrentBadge");
  const std::string head = "Branch main, 1 ahead of origin/main, 1 behind origin/main";
  EXPECT_TRUE(kelpie({"status", file}).out.starts_with(head + "\n"))
      << kelpie({"status", file}).out;

  ChildProcess merge({"git", "-C", repository, "merge", "-q", "origin/main"},
                     session.environment());
  EXPECT_EQ(merge.waitForEnd(), 1);
  EXPECT_TRUE(host().sees(file, "KPConflictedBadge"));
  EXPECT_TRUE(kelpie({"status", file}).out.starts_with(head + "; merge under way\n"))
      << kelpie({"status", file}).out;
  const auto json = nlohmann::json::parse(kelpie({"status", "--json", file}).out);
  EXPECT_EQ(json[0]["workingCopy"]["ahead"], 1);
  EXPECT_EQ(json[0]["workingCopy"]["operation"], "merge");

  session.git("r", {"merge", "--abort"});
  session.git("r", {"checkout", "-q", "--detach"});
  EXPECT_TRUE(kelpie({"status", file}).out.starts_with("No branch, at "));
}

TEST_F(StatusCommand, DeletedItemsAreListedAndCanBeNamed) {
  std::filesystem::remove(repository + "/src/a.c");
  startWith(repository, file, "KPCurrentBadge");
  const std::string out = kelpie({"status", repository + "/src"}).out;
  EXPECT_NE(out.find("  − deleted               a.c\n"), std::string::npos) << out;
  const Result result = kelpie({"do", "Stage", repository + "/src/a.c"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(session.git("r", {"status", "--porcelain"}), "D  src/a.c");
  EXPECT_NE(kelpie({"do", "Stage", repository + "/src/never.c"}).err.find("nothing is there"),
            std::string::npos);
}

TEST_F(StatusCommand, AllChangesBelowAreListedOnDemand) {
  session.append("r/src/b.c", "changed");
  session.append("r/new.txt", "new");
  std::filesystem::remove(repository + "/src/a.c");
  startWith(repository, repository + "/new.txt", "KPWorkdirNewBadge");
  EXPECT_EQ(kelpie({"status", "--changed", repository}).out,
            "Branch main\n"
            "± modified              " +
                repository +
                "/\n"
                "  ? untracked             new.txt\n"
                "  − deleted               src/a.c\n"
                "  ± modified              src/b.c\n");
  agent->signal(SIGTERM);
  EXPECT_EQ(agent->waitForEnd(), 0);
  const Result result = kelpie({"status", "--changed", repository});
  EXPECT_EQ(result.status, 1) << "nothing was found out";
  EXPECT_NE(result.err.find("does not answer"), std::string::npos) << result.err;
}

TEST_F(StatusCommand, BranchesAreWaitedForRightAfterARestartOfTheAgent) {
  session.git("r", {"branch", "topic"});
  startWith(repository, file, "KPCurrentBadge");
  agent->signal(SIGTERM);
  EXPECT_EQ(agent->waitForEnd(), 0);
  agent = session.startAgent();
  EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
  const Result result = kelpie({"do", "Checkout/topic", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(session.git("r", {"branch", "--show-current"}), "topic");
}

}  // namespace
}  // namespace kelpie
