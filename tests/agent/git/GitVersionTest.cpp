#include "agent/git/GitVersion.h"

#include <gtest/gtest.h>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

TEST(GitVersionTest, VersionsAreReadAsGitPrintsThem) {
  struct Case {
    const char* text;
    std::optional<GitVersion> version;
  };
  const Case cases[] = {
      {"git version 2.39.5\n", GitVersion{2, 39}},
      {"git version 2.16.rc0", GitVersion{2, 16}},
      {"git version 2.50.1 (Vendor Git-155)\n", GitVersion{2, 50}},
      {"git version 3.0.0", GitVersion{3, 0}},
      {"git version 2", std::nullopt},
      {"git version x.y", std::nullopt},
      {"git version -2.3", std::nullopt},
      {"git version 99999999999.1", std::nullopt},
      {"hub version 2.39.5", std::nullopt},
      {"", std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(GitVersion::parse(c.text), c.version) << c.text;
}

TEST(GitVersionTest, NewerVersionsCompareGreater) {
  EXPECT_LT((GitVersion{2, 9}), (GitVersion{2, 16}));
  EXPECT_LT((GitVersion{1, 99}), (GitVersion{2, 0}));
}

TEST(GitVersionTest, WhatCannotBeUsedIsSaidWithWhatIsNeeded) {
  const GitSandbox sandbox;
  EXPECT_FALSE(problemOfGit(GitCommand("git", "/")));
  EXPECT_TRUE(problemOfGit(GitCommand(sandbox.path("no-git"), "/")));
  sandbox.writeScript("old", "echo git version 2.11.0\n");
  EXPECT_EQ(problemOfGit(GitCommand(sandbox.path("old"), "/")),
            "git 2.11 is too old. Git 2.26 or newer is needed.");
  sandbox.writeScript("other", "echo something else\n");
  EXPECT_EQ(problemOfGit(GitCommand(sandbox.path("other"), "/")),
            "What is there as git does not say its version. Git 2.26 or newer is needed.");
}

}  // namespace
}  // namespace kelpie::agent
