#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"
#include "support/Script.h"

namespace kelpie {
namespace {

// What becomes of a chosen action is told to who chose it, and what takes long can be called off.
class Outcomes : public ProgramsFixture {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  void start() { startWith(repository, file, "KPCurrentBadge"); }
  Result kelpie(const std::vector<std::string>& words) {
    const auto process = session.start("kelpie", words);
    const auto status = process->waitForEnd();
    return {status.value_or(-1), process->output(), process->errors()};
  }
  // A hook of the repository; it says "hook" in the home folder when it has begun.
  void addHook(const std::string& name, const std::string& script) {
    putScript(session.home() / ("r/.git/hooks/" + name), "echo $$ >\"$HOME/hook\"\n" + script);
  }
  bool hookRuns() {
    return session.waitUntil([&] { return session.read("hook").ends_with('\n'); });
  }
  // Waits until the hook's process is gone.
  bool hookEnds() {
    const std::string process = session.read("hook");
    return session.waitUntil([&] {
      return !std::filesystem::exists("/proc/" + process.substr(0, process.find('\n')) + "/exe");
    });
  }
  // A remote whose branch has gone elsewhere, so that a push is rejected.
  void addOriginThatRejects() {
    session.git("", {"init", "-q", "--bare", "origin.git"});
    session.git("r", {"remote", "add", "origin", session.home() / "origin.git"});
    session.git("r", {"push", "-q", "-u", "origin", "main"});
    session.git("", {"clone", "-q", "origin.git", "other"});
    session.append("other/file.txt", "there");
    session.git("other", {"commit", "-q", "-a", "-m", "There"});
    session.git("other", {"push", "-q"});
    session.append("r/file.txt", "here");
    session.git("r", {"commit", "-q", "-a", "-m", "Here"});
  }

  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
};

TEST_F(Outcomes, WhatIsDoneIsSaid) {
  session.append("r/file.txt", "changed");
  startWith(repository, file, "KPWorkdirModifiedBadge");
  const Result result = kelpie({"do", "Stage", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "Stage: done\n");
  EXPECT_EQ(session.git("r", {"status", "--porcelain"}), "M  file.txt");
}

TEST_F(Outcomes, ARejectedPushIsAFailureInGitsWords) {
  addOriginThatRejects();
  start();
  const Result result = kelpie({"do", "Push/main", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("kelpie: Push failed\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("rejected"), std::string::npos) << result.err;
}

TEST_F(Outcomes, AnActionThatTheUserRefusesIsCancelled) {
  session.addUser(kSaysNo);
  session.append("r/file.txt", "changed");
  startWith(repository, file, "KPWorkdirModifiedBadge");
  const Result result = kelpie({"do", "Discard", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find(" was cancelled\n"), std::string::npos) << result.err;
}

TEST_F(Outcomes, EachOfTwoAtOnceIsToldItsOwn) {
  addOriginThatRejects();
  session.git("r", {"branch", "topic", "HEAD~1"});
  // The first push takes until the second one has been chosen, so that both are under way at once.
  addHook("pre-push", "while [ ! -e \"$HOME/go\" ]; do sleep 0.02; done\n");
  start();
  const auto rejected = session.start("kelpie", {"do", "Push/main", file});
  ASSERT_TRUE(hookRuns()) << rejected->errors();
  const auto pushed = session.start("kelpie", {"do", "Push/topic", file});
  EXPECT_TRUE(becomes<bool>(
      [&] { return kelpie({"actions"}).out.find("waiting") != std::string::npos; }, true))
      << pushed->errors();
  session.home().addFile("go");
  EXPECT_EQ(rejected->waitForEnd(), 1);
  EXPECT_NE(rejected->errors().find("rejected"), std::string::npos) << rejected->errors();
  EXPECT_EQ(pushed->waitForEnd(), 0) << pushed->errors();
  EXPECT_EQ(pushed->output(), "Push: done\n");
}

TEST_F(Outcomes, AnEqualActionOfAnotherHostIsNotTakenForOnesOwn) {
  addOriginThatRejects();
  addHook("pre-push", "while [ ! -e \"$HOME/go\" ]; do sleep 0.02; done\nexit 0\n");
  start();
  // A file manager's push, of which nobody has to know how it ends.
  EXPECT_TRUE(host().choose({file}, {"Push", "main"}));
  ASSERT_TRUE(hookRuns());
  const auto own = session.start("kelpie", {"do", "Push/main", file});
  EXPECT_TRUE(becomes<bool>(
      [&] { return kelpie({"actions"}).out.find("waiting") != std::string::npos; }, true))
      << own->errors();
  session.git("r", {"push", "-q", "--no-verify", "--force", "origin", "main~1:refs/heads/main"});
  session.home().addFile("go");
  EXPECT_EQ(own->waitForEnd(), 0) << own->errors();
}

TEST_F(Outcomes, AnActionThatHangsIsListedAndCalledOff) {
  session.addUser(kSaysYes);
  addHook("post-checkout", "sleep 1000 & wait\n");
  session.git("r", {"branch", "topic"});
  std::filesystem::remove(session.home() / "hook");
  session.append("r/file.txt", "changed");
  startWith(repository, file, "KPWorkdirModifiedBadge");
  const auto checkout = session.start("kelpie", {"do", "Checkout/topic", file});
  ASSERT_TRUE(hookRuns()) << checkout->errors();
  const auto stage = session.start("kelpie", {"do", "Stage", file});
  EXPECT_TRUE(checkout->waitForErrors("kelpie cancel 1\n"));
  EXPECT_TRUE(GitSession::hasLogged(*agent, "Action checkout: is still running, number 1."));
  EXPECT_TRUE(GitSession::hasLogged(*agent, "Action stage: has to wait, number 2."));
  const std::string list = kelpie({"actions"}).out;
  EXPECT_NE(list.find("1  running  "), std::string::npos) << list;
  EXPECT_NE(list.find("2  waiting  "), std::string::npos) << list;

  EXPECT_EQ(kelpie({"cancel", "1"}).status, 0);
  EXPECT_EQ(checkout->waitForEnd(), 1);
  EXPECT_NE(checkout->errors().find("Checkout was cancelled\n"), std::string::npos);
  EXPECT_TRUE(hookEnds()) << "all that git has started ends";
  EXPECT_EQ(stage->waitForEnd(), 0) << stage->errors();
  EXPECT_EQ(kelpie({"actions"}).out, "");
  EXPECT_FALSE(std::filesystem::exists(repository + "/.git/index.lock"));
  EXPECT_EQ(kelpie({"cancel", "1"}).status, 1);
}

TEST_F(Outcomes, AnActionThatWaitsIsCalledOffAtOnce) {
  addHook("post-checkout", "sleep 1000 & wait\n");
  session.git("r", {"branch", "topic"});
  std::filesystem::remove(session.home() / "hook");
  session.append("r/file.txt", "changed");
  startWith(repository, file, "KPWorkdirModifiedBadge");
  const auto checkout = session.start("kelpie", {"do", "Checkout/topic", file});
  ASSERT_TRUE(hookRuns()) << checkout->errors();
  const auto stage = session.start("kelpie", {"do", "Stage", file});
  EXPECT_TRUE(session.waitUntil([&] { return kelpie({"cancel", "2"}).status == 0; }));
  EXPECT_EQ(stage->waitForEnd(), 1);
  EXPECT_EQ(session.git("r", {"diff", "--cached", "--name-only"}), "") << "it never ran";
  EXPECT_EQ(kelpie({"cancel", "--all"}).status, 0);
  EXPECT_EQ(checkout->waitForEnd(), 1);
}

TEST_F(Outcomes, AfterTheLimitNothingIsClaimed) {
  addHook("post-checkout", "sleep 1000 & wait\n");
  session.git("r", {"branch", "topic"});
  std::filesystem::remove(session.home() / "hook");
  start();
  const Result result = kelpie({"do", "--limit=1000", "Checkout/topic", file});
  EXPECT_EQ(result.status, 3) << result.err;
  EXPECT_NE(result.err.find("has not ended; see: kelpie actions\n"), std::string::npos)
      << result.err;
  EXPECT_EQ(kelpie({"cancel", "--all"}).status, 0);
}

TEST_F(Outcomes, AnAgentThatEndsMeanwhileIsSaidSo) {
  addHook("post-checkout", "sleep 1000 & wait\n");
  session.git("r", {"branch", "topic"});
  std::filesystem::remove(session.home() / "hook");
  start();
  const auto checkout = session.start("kelpie", {"do", "Checkout/topic", file});
  ASSERT_TRUE(hookRuns()) << checkout->errors();
  agent->signal(SIGKILL);
  EXPECT_EQ(checkout->waitForEnd(), 3);
  EXPECT_NE(checkout->errors().find("has ended before Checkout\n"), std::string::npos)
      << checkout->errors();
  kill(std::stoi(session.read("hook")), SIGKILL);
}

}  // namespace
}  // namespace kelpie
