#include "agent/git/GitConfig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelpie::agent {
namespace {

using namespace std::string_literals;

TEST(GitConfig, TheLastValueCounts) {
  const GitConfig config = GitConfig::parse("a.b\none\0a.b\ntwo\0"s);
  EXPECT_EQ(config.get("a.b"), "two");
  EXPECT_EQ(config.all("a.b"), (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(config.get("a.c"), std::nullopt);
  EXPECT_TRUE(config.all("a.c").empty());
}

TEST(GitConfig, ValuesMayHoldLineEndsAndNothing) {
  const GitConfig config = GitConfig::parse("a.b\nx\ny\0a.c\n\0a.d\0"s);
  EXPECT_EQ(config.get("a.b"), "x\ny");
  EXPECT_EQ(config.get("a.c"), "");
  EXPECT_EQ(config.get("a.d"), "");
}

TEST(GitConfig, BooleansReadAsGitReadsThem) {
  struct Case {
    std::string value;
    bool withTrue;
    bool withFalse;
  };
  const Case cases[] = {{"\ntrue", true, true},  {"\nYES", true, true}, {"\non", true, true},
                        {"\n1", true, true},     {"", true, true},      {"\nfalse", false, false},
                        {"\nOff", false, false}, {"\n", false, false},  {"\nperhaps", true, false}};
  for (const Case& c : cases) {
    const GitConfig config = GitConfig::parse("a.b" + c.value + '\0');
    EXPECT_EQ(config.getBool("a.b", true), c.withTrue) << c.value;
    EXPECT_EQ(config.getBool("a.b", false), c.withFalse) << c.value;
  }
  EXPECT_TRUE(GitConfig().getBool("a.b", true));
  EXPECT_FALSE(GitConfig().getBool("a.b", false));
}

TEST(GitConfig, SubsectionsMayHoldDots) {
  const GitConfig config = GitConfig::parse(
      "remote.origin.url\nu\0remote.a.b.c.url\nu\0remote.origin.fetch\nf\0remote.pushdefault\nx\0"
      "remotes.x.y\nz\0"s);
  EXPECT_EQ(config.subsections("remote"), (std::vector<std::string>{"origin", "a.b.c"}));
}

// Compared with each other they would take longer than a test may.
TEST(GitConfig, HundredsOfThousandsOfSubsectionsAreListed) {
  constexpr std::size_t kCount = 400'000;
  std::string output;
  for (std::size_t i = 0; i < kCount; ++i)
    output.append("submodule.m").append(std::to_string(i)).append(".path\np\0"s);
  EXPECT_EQ(GitConfig::parse(output).subsections("submodule").size(), kCount);
}

TEST(GitConfig, WhatIsNoSettingsReadsAsNone) {
  const GitConfig config = GitConfig::parse("fatal: no such file");
  EXPECT_EQ(config.get("fatal: no such file"), std::nullopt);
  EXPECT_TRUE(config.subsections("fatal").empty());
}

}  // namespace
}  // namespace kelpie::agent
