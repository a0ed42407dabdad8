#include "cli/commands/Arguments.h"

#include <gtest/gtest.h>

namespace kelpie::cli {
namespace {

Arguments::Parsed parse(std::string_view command, const std::vector<std::string>& words) {
  return Arguments::parse(*findCommand(command), words);
}

TEST(Arguments, OptionsAndOperandsMix) {
  const auto parsed = parse("status", {"a", "--json", "b", "--wait", "5", "--color=never"});
  ASSERT_FALSE(parsed.problem);
  EXPECT_EQ(parsed.arguments.operands(), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(parsed.arguments.has("json"));
  EXPECT_EQ(parsed.arguments.wait().count(), 5);
  EXPECT_EQ(parsed.arguments.colour(), ColourChoice::Never);
}

TEST(Arguments, TwoDashesEndTheOptions) {
  const auto parsed = parse("status", {"--", "--json", "-x"});
  ASSERT_FALSE(parsed.problem);
  EXPECT_EQ(parsed.arguments.operands(), (std::vector<std::string>{"--json", "-x"}));
}

TEST(Arguments, ANegativeNumberIsNoOption) {
  const auto parsed = parse("settings", {"set", "menu-items", "-1", "-14"});
  ASSERT_FALSE(parsed.problem);
  EXPECT_EQ(parsed.arguments.verb(), "set");
  EXPECT_EQ(parsed.arguments.operands(), (std::vector<std::string>{"menu-items", "-1", "-14"}));
}

TEST(Arguments, HelpIsFoundAnywhereBeforeTwoDashes) {
  EXPECT_TRUE(parse("do", {"--help"}).wantsHelp);
  EXPECT_TRUE(parse("do", {"x", "-h"}).wantsHelp);
  EXPECT_FALSE(parse("do", {"x", "--", "--help"}).wantsHelp);
}

TEST(Arguments, WhatIsNotGivenHasItsDefault) {
  const auto parsed = parse("menu", {"a"});
  ASSERT_FALSE(parsed.problem);
  EXPECT_EQ(parsed.arguments.wait().count(), 2000);
  EXPECT_EQ(parsed.arguments.colour(), ColourChoice::Auto);
  EXPECT_EQ(parsed.arguments.value("kind", "items"), "items");
}

}  // namespace
}  // namespace kelpie::cli
