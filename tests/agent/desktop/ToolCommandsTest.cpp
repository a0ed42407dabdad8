#include "agent/desktop/ToolCommands.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

using Words = std::vector<std::string>;

class ToolCommandsTest : public testing::Test {
 protected:
  ToolCommands read(const std::string& text) {
    return ToolCommands::read(folder_.addFile("agent.conf", text), problems_);
  }
  static ToolCommands::Values values() {
    ToolCommands::Values values;
    values.root = "/r";
    values.paths = {"a b", "-c"};
    values.fullName = "refs/heads/x";
    values.name = "x";
    return values;
  }
  static Words arguments(const ToolCommands& tools, std::string_view action,
                         std::string_view fallback) {
    const auto call = tools.call(action, fallback, values());
    return call ? call->arguments : Words();
  }

  TemporaryFolder folder_;
  std::vector<std::string> problems_;
};

TEST_F(ToolCommandsTest, TheRulesOwnCommandRunsInTheRoot) {
  const auto call = ToolCommands().call("diff:", "git difftool %full -- %p", values());
  ASSERT_TRUE(call);
  EXPECT_EQ(call->arguments, (Words{"git", "difftool", "refs/heads/x", "--", "a b", "-c"}));
  EXPECT_EQ(call->folder, "/r");
  EXPECT_FALSE(call->endsWithAgent);
}

TEST_F(ToolCommandsTest, TheUsersOwnCommandComesFirst) {
  const ToolCommands tools = read("[Tools]\ndiff=meld \"the %r\" x%f --one=%p %f\n");
  EXPECT_TRUE(tools.isOverridden("diff:"));
  EXPECT_FALSE(tools.isOverridden("externalDiff:"));
  EXPECT_EQ(arguments(tools, "diff:", "unused"),
            (Words{"meld", "the /r", "x/r/a b", "--one=a b", "/r/a b", "/r/-c"}));
  EXPECT_TRUE(problems_.empty());
}

TEST_F(ToolCommandsTest, NothingIsTakenForShellSyntax) {
  const ToolCommands tools = read("[Tools]\ndiff=sh '$HOME' ; `id` %r > x | y\n");
  EXPECT_EQ(arguments(tools, "diff:", ""),
            (Words{"sh", "$HOME", ";", "`id`", "/r", ">", "x", "|", "y"}));
}

TEST_F(ToolCommandsTest, PercentSignsThatStandForNothingStay) {
  const ToolCommands tools = read("[Tools]\ndiff=x 100%% %z %\n");
  EXPECT_EQ(arguments(tools, "diff:", ""), (Words{"x", "100%", "%z", "%"}));
}

TEST_F(ToolCommandsTest, APlaceholderWithNothingToStandForGivesNoCommand) {
  ToolCommands::Values none;
  none.root = "/r";
  EXPECT_FALSE(ToolCommands().call("diff:", "x %full", none));
  EXPECT_FALSE(ToolCommands().call("diff:", "x --file=%f", none));
  EXPECT_TRUE(ToolCommands().call("diff:", "x %f", none)) << "as many words as there are paths";
  EXPECT_FALSE(ToolCommands().call("diff:", "", none));
}

TEST_F(ToolCommandsTest, WhatAPathHoldsIsNoPlaceholder) {
  ToolCommands::Values odd = values();
  odd.paths = {"%r %full"};
  EXPECT_EQ(ToolCommands().call("diff:", "x %p", odd)->arguments, (Words{"x", "%r %full"}));
}

TEST_F(ToolCommandsTest, AFileThatIsNotThereSaysNothing) {
  const ToolCommands tools = ToolCommands::read(folder_ / "none", problems_);
  EXPECT_FALSE(tools.isOverridden("diff:"));
  EXPECT_TRUE(problems_.empty());
}

TEST_F(ToolCommandsTest, AWrongLineIsToldAndTheOthersCount) {
  const ToolCommands tools = read("[Tools]\ndiff='open\nblameItems=\ncommit:=mine\n");
  EXPECT_FALSE(tools.isOverridden("diff:"));
  EXPECT_TRUE(tools.isOverridden("commit:"));
  ASSERT_EQ(problems_.size(), 2U);
  EXPECT_NE(problems_[0].find("\"diff\""), std::string::npos);
}

TEST_F(ToolCommandsTest, AFileThatIsNoneIsTold) {
  read(std::string("\xFF\0no key file", 14));
  EXPECT_EQ(problems_.size(), 1U);
}

}  // namespace
}  // namespace kelpie::agent
