#include "agent/git/ReferenceParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelpie::agent {
namespace {

using namespace std::string_literals;

TEST(ReferenceParser, FieldsOfALine) {
  const auto list = parseReferences(
      "refs/heads/main\0aa\0\0refs/remotes/origin/main\0*\0\n"
      "refs/tags/v1\0bb\0cc\0\0 \0\n"
      "refs/remotes/origin/HEAD\0aa\0\0\0 \0refs/remotes/origin/main\n"s);
  ASSERT_TRUE(list && list->size() == 3);
  EXPECT_EQ((*list)[0].name, "refs/heads/main");
  EXPECT_EQ((*list)[0].upstream, "refs/remotes/origin/main");
  EXPECT_TRUE((*list)[0].isHead);
  EXPECT_EQ((*list)[1].oid, "cc") << "an annotated tag stands for its commit";
  EXPECT_FALSE((*list)[1].isHead);
  EXPECT_FALSE((*list)[1].isSymbolic);
  EXPECT_TRUE((*list)[2].isSymbolic);
}

TEST(ReferenceParser, WhatIsNoListIsRefused) {
  EXPECT_FALSE(parseReferences("fatal: broken\n"));
  EXPECT_FALSE(parseReferences("\0\0\0\0\0\n"s));
  EXPECT_FALSE(parseReferences("refs/heads/a\0b\0\0\0\n"s));
  EXPECT_TRUE(parseReferences(""));
}

TEST(ReferenceParser, PullRequestsAreKnownByTheirReferences) {
  struct Case {
    std::string reference;
    std::string title;  // empty: no pull request
  };
  const Case cases[] = {
      {"refs/pull/12/head", "#12 Fix"},
      {"refs/merge-requests/7/head", "!7 Fix"},
      {"refs/pull-requests/3/from", "#3 Fix"},
      {"refs/remotes/origin/pull/4/head", "#4 Fix"},
      {"refs/remotes/origin/merge-requests/5/head", "!5 Fix"},
      {"refs/remotes/origin/pr/6", "#6 Fix"},
      {"refs/pull/12/merge", ""},
      {"refs/pull/x/head", ""},
      {"refs/pull//head", ""},
      {"refs/pull/1/2/head", ""},
      {"refs/heads/pull/1/head", ""},
  };
  for (const Case& c : cases) {
    const auto requests = parsePullRequests(c.reference + "\0aa\0Fix\n"s);
    if (c.title.empty()) {
      EXPECT_TRUE(requests.empty()) << c.reference;
      continue;
    }
    ASSERT_EQ(requests.size(), 1U) << c.reference;
    EXPECT_EQ(requests.front().title, c.title);
    EXPECT_EQ(requests.front().fullName, c.reference);
  }
}

TEST(ReferenceParser, APullRequestWithoutASubjectIsItsNumber) {
  const auto requests = parsePullRequests("refs/pull/1/head\0aa\0\nrubbish\n"s);
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests.front().title, "#1");
}

TEST(ReferenceParser, StashesKeepTheirOrder) {
  const auto stashes = parseStashes("aa\0WIP on main: 1 x\0bb\0On main: y\0"s);
  ASSERT_EQ(stashes.size(), 2U);
  EXPECT_EQ(stashes[0].oid, "aa");
  EXPECT_EQ(stashes[0].title, "WIP on main: 1 x");
  EXPECT_EQ(stashes[1].title, "On main: y");
  EXPECT_TRUE(parseStashes("").empty());
}

TEST(ReferenceParser, RemotesOfTheConfiguration) {
  const auto remotes = remotesOf(GitConfig::parse(
      "remote.team/b.url\nu2\0remote.a.url\nu1\0remote.a.pushurl\np1\0remote.a.fetch\nf1\0"
      "remote.a.fetch\nf2\0remote.a.tagopt\n--no-tags\0remote.a.skipfetchall\ntrue\0"
      "remote.nowhere.prune\ntrue\0remote.pushdefault\na\0"s));
  ASSERT_EQ(remotes.size(), 2U) << "settings for a remote that is not there make none";
  EXPECT_EQ(remotes[0].name, "a");
  EXPECT_EQ(remotes[0].url, "u1");
  EXPECT_EQ(remotes[0].pushUrl, "p1");
  EXPECT_EQ(remotes[0].fetchRefspecs, (std::vector<std::string>{"f1", "f2"}));
  EXPECT_EQ(remotes[0].tagOption, "--no-tags");
  EXPECT_TRUE(remotes[0].skipFetchAll);
  EXPECT_EQ(remotes[1].name, "team/b");
  EXPECT_FALSE(remotes[1].skipFetchAll);
}

TEST(ReferenceParser, SubmodulesOfTheirFile) {
  const auto modules = submodulesOf(
      GitConfig::parse("submodule.libs/zip.path\nlibs/zip\0submodule.libs/zip.url\n../zip\0"
                       "submodule.libs/zip.ignore\nall\0submodule.nopath.url\nu\0"s));
  ASSERT_EQ(modules.size(), 1U);
  EXPECT_EQ(modules[0].name, "libs/zip");
  EXPECT_EQ(modules[0].path, "libs/zip");
  EXPECT_EQ(modules[0].url, "../zip");
  EXPECT_EQ(modules[0].ignore, "all");
}

TEST(ReferenceParser, GitflowNeedsBothOfItsBranches) {
  EXPECT_FALSE(gitflowOf(GitConfig()));
  EXPECT_FALSE(gitflowOf(GitConfig::parse("gitflow.branch.master\nmain\0"s)));
  const auto flow = gitflowOf(GitConfig::parse(
      "gitflow.branch.master\nmain\0gitflow.branch.develop\ndev\0gitflow.prefix.hotfix\nhf-\0"s));
  ASSERT_TRUE(flow);
  EXPECT_EQ(flow->master, "main");
  EXPECT_EQ(flow->develop, "dev");
  EXPECT_EQ(flow->featurePrefix, "feature/");
  EXPECT_EQ(flow->hotfixPrefix, "hf-");
}

}  // namespace
}  // namespace kelpie::agent
