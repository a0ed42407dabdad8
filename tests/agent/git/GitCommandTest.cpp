#include "agent/git/GitCommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/git/ProgramGuard.h"
#include "agent/git/WorkingCopy.h"

namespace kelpie::agent {
namespace {

// A git that is never started: what it would be started with is kept.
class GitCommandTest : public testing::Test {
 protected:
  GitCommand git() {
    const auto keep = [this](const ProgramCall& call, GCancellable*) {
      calls.push_back(call);
      ProgramResult result;
      result.end = ProgramResult::End::Exited;
      result.status = calls.size() == failing ? 1 : 0;
      return result;
    };
    return GitCommand("git", "/r").startedBy(std::make_shared<const ProgramRunner>(keep));
  }
  static std::string value(const ProgramCall& call, const std::string& variable) {
    std::string last = "not set";
    for (const auto& [name, text] : call.environment)
      if (name == variable) last = text;
    return last;
  }
  static bool has(const ProgramCall& call, const std::string& argument) {
    return std::ranges::find(call.arguments, argument) != call.arguments.end();
  }

  std::vector<ProgramCall> calls;
  std::size_t failing = 0;  // the number of the call that fails, from 1
};

TEST_F(GitCommandTest, EachOneMadeOfAnotherIsStartedTheSameWay) {
  WorkingCopy workingCopy;
  workingCopy.root = "/r/other";
  const std::vector<std::pair<GitCommand, std::string>> others = {
      {git(), "/r"},
      {git().in("/elsewhere"), "/elsewhere"},
      {git().unguarded(), "/r"},
      {git().guardedBy(nullptr), "/r"},
      {git().withVariables({{"A", "1"}}), "/r"},
      {git().within(workingCopy), "/r/other"},
  };
  for (const auto& [other, folder] : others) {
    calls.clear();
    EXPECT_EQ(other.folder(), folder);
    EXPECT_TRUE(other.ask({"version"}).succeeded());
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls.front().folder, folder);
    EXPECT_EQ(calls.front().arguments.front(), "git");
  }
}

TEST_F(GitCommandTest, AQuestionIsNoHindranceToOthersAndReadsPathsAsTheyAre) {
  git().ask({"status"}, "input");
  ASSERT_EQ(calls.size(), 1U);
  const ProgramCall& call = calls.front();
  for (const char* argument : {"--no-optional-locks", "--literal-pathspecs", "core.quotePath=off",
                               "core.hooksPath=/dev/null", "log.showSignature=false", "status"})
    EXPECT_TRUE(has(call, argument)) << argument;
  EXPECT_EQ(value(call, "LC_ALL"), "C");
  EXPECT_EQ(value(call, "GIT_TERMINAL_PROMPT"), "0");
  EXPECT_EQ(value(call, "GIT_NO_LAZY_FETCH"), "1");
  EXPECT_EQ(call.input, "input");
  EXPECT_TRUE(call.endsWithAgent);
  EXPECT_EQ(call.timeLimit, GitCommand::kQuestionLimit);
  EXPECT_EQ(call.withoutVariables, GitCommand::repositoryVariables());
}

TEST_F(GitCommandTest, AQuestionThatIsRefusedStartsNothing) {
  ReadingRules rules;
  rules.refusal = "It is not read.";
  const ProgramResult answer = git().askUnder(rules, {"status"});
  EXPECT_FALSE(answer.succeeded());
  EXPECT_EQ(answer.failure(), "It is not read.");
  EXPECT_EQ(calls.size(), 0U);
}

TEST_F(GitCommandTest, AChangeWaitsForNobodyAndOutlivesTheAgent) {
  git().withVariables({{"ASKPASS", "x"}}).changeWith({"commit"}, {"input", {{"OWN", "y"}}});
  ASSERT_EQ(calls.size(), 1U);
  const ProgramCall& call = calls.front();
  EXPECT_EQ(call.arguments, (Arguments{"git", "commit"}));
  EXPECT_EQ(value(call, "GIT_EDITOR"), ":");
  EXPECT_EQ(value(call, "GIT_TERMINAL_PROMPT"), "0");
  EXPECT_EQ(value(call, "ASKPASS"), "x");
  EXPECT_EQ(value(call, "OWN"), "y");
  EXPECT_EQ(value(call, "LC_ALL"), "not set") << "it speaks to the user";
  EXPECT_EQ(call.input, "input");
  EXPECT_FALSE(call.endsWithAgent);
}

TEST_F(GitCommandTest, PathsGoByTheInputOrAfterADash) {
  git().changePaths({"add"}, {"-a", "b\n"});
  git().changePaths({"rm"}, {"-a", "b\n"}, GitCommand::Paths::AsArguments);
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].arguments,
            (Arguments{"git", "add", "--pathspec-from-file=-", "--pathspec-file-nul"}));
  EXPECT_EQ(calls[0].input, std::string("-a\0b\n\0", 6));
  EXPECT_EQ(calls[1].arguments, (Arguments{"git", "rm", "--", "-a", "b\n"}));
  for (const ProgramCall& call : calls) EXPECT_EQ(value(call, "GIT_LITERAL_PATHSPECS"), "1");
  EXPECT_FALSE(git().changePaths({"add"}, {}).succeeded()) << "git would take all there are";
  EXPECT_EQ(calls.size(), 2U);
}

TEST_F(GitCommandTest, MorePathsThanACallTakesGoInSeveralUntilOneFails) {
  std::vector<std::string> paths;
  for (int i = 0; i < 300; ++i) paths.push_back(std::to_string(i) + std::string(1000, 'x'));
  EXPECT_TRUE(git().changePaths({"rm"}, paths, GitCommand::Paths::AsArguments).succeeded());
  EXPECT_GT(calls.size(), 2U);
  std::vector<std::string> given;
  for (const ProgramCall& call : calls)
    given.insert(given.end(), call.arguments.begin() + 3, call.arguments.end());
  EXPECT_EQ(given, paths);
  calls.clear();
  failing = 2;
  EXPECT_FALSE(git().changePaths({"rm"}, paths, GitCommand::Paths::AsArguments).succeeded());
  EXPECT_EQ(calls.size(), 2U);
}

}  // namespace
}  // namespace kelpie::agent
