#include "agent/git/IgnoreFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

TEST(IgnoreFile, APatternFitsItsPathAndNoOther) {
  const GitSandbox sandbox;
  sandbox.init("r");
  const std::vector<std::string> names = {"plain",  "#hash", "!not",   "star*", "what?", "[set]",
                                          "back\\", " lead", "trail ", "two  ", "\xFF",  "tab\t",
                                          "ret\r",  "-f",    "a\\ ",   "sub/x", "\"q\""};
  for (const std::string& name : names) {
    sandbox.write("r/.git/info/exclude", "");
    const auto pattern = ignorePattern(name, false);
    ASSERT_TRUE(pattern) << name;
    EXPECT_EQ(addIgnorePatterns(sandbox.path("r/.git/info/exclude"), {*pattern}), "");
    for (const std::string& other : names) {
      const bool ignored =
          sandbox.tryGit("r", {"check-ignore", "-q", "--no-index", "--", other}).succeeded();
      EXPECT_EQ(ignored, name == other) << *pattern << " for " << other;
    }
    EXPECT_FALSE(sandbox.tryGit("r", {"check-ignore", "-q", "--", "deep/" + name}).succeeded());
  }
}

TEST(IgnoreFile, AFoldersPatternFitsFoldersOnly) {
  EXPECT_EQ(ignorePattern("a/b ", true), "/a/b /");
}

TEST(IgnoreFile, WhatNoPatternCanNameHasNone) {
  for (const char* path : {"", ".", "a\nb"}) EXPECT_FALSE(ignorePattern(path, false)) << path;
}

TEST(IgnoreFile, AddsOnlyWhatIsNotThere) {
  const GitSandbox sandbox;
  sandbox.write("file", "# mine\n/a\n/b");
  EXPECT_EQ(addIgnorePatterns(sandbox.path("file"), {"/a", "/b", "/c"}), "");
  EXPECT_EQ(sandbox.read("file"), "# mine\n/a\n/b\n/c\n");
  EXPECT_EQ(addIgnorePatterns(sandbox.path("file"), {"/a", "/c"}), "");
  EXPECT_EQ(sandbox.read("file"), "# mine\n/a\n/b\n/c\n");
}

TEST(IgnoreFile, MakesTheFileAndItsFolder) {
  const GitSandbox sandbox;
  EXPECT_EQ(addIgnorePatterns(sandbox.path("info/exclude"), {"/a"}), "");
  EXPECT_EQ(sandbox.read("info/exclude"), "/a\n");
}

TEST(IgnoreFile, ALinkIsNotFollowed) {
  const GitSandbox sandbox;
  sandbox.write("elsewhere", "");
  std::filesystem::create_symlink("elsewhere", sandbox.path("link"));
  EXPECT_NE(addIgnorePatterns(sandbox.path("link"), {"/a"}), "");
  EXPECT_EQ(sandbox.read("elsewhere"), "");
}

TEST(IgnoreFile, WhatIsNoFileIsLeftAlone) {
  const GitSandbox sandbox;
  sandbox.makeFolder("folder");
  EXPECT_NE(addIgnorePatterns(sandbox.path("folder"), {"/a"}), "");
  ASSERT_EQ(mkfifo(sandbox.path("pipe").c_str(), 0600), 0);
  EXPECT_NE(addIgnorePatterns(sandbox.path("pipe"), {"/a"}), "");
  sandbox.write("file", "");
  EXPECT_NE(addIgnorePatterns(sandbox.path("file/below"), {"/a"}), "");
}

}  // namespace
}  // namespace kelpie::agent
