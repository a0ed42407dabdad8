#include "agent/git/ReferencesSnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <set>
#include <string>

namespace kelpie::agent {
namespace {

Reference branchNamed(const std::string& name) {
  Reference branch;
  branch.kind = ReferenceKind::RemoteBranch;
  branch.fullName = "refs/remotes/" + name;
  return branch;
}

ReferencesSnapshot withRemotes(const std::set<std::string>& names) {
  ReferencesSnapshot references;
  for (const std::string& name : names) {
    references.remotes.emplace_back();
    references.remotes.back().name = name;
  }
  return references;
}

std::string nameOfRemote(const ReferencesSnapshot& references, const std::string& branch) {
  const Remote* remote = references.remoteOf(branchNamed(branch));
  return remote == nullptr ? "none" : remote->name;
}

TEST(ReferencesSnapshot, TheRemoteOfABranchIsTheOneWithTheLongestName) {
  const ReferencesSnapshot references = withRemotes({"a", "a!", "a/b", "a/b!", "a/b/c", "b"});
  EXPECT_EQ(nameOfRemote(references, "a/x"), "a");
  EXPECT_EQ(nameOfRemote(references, "a/b"), "a") << "not the remote of that very name";
  EXPECT_EQ(nameOfRemote(references, "a/b/x"), "a/b");
  EXPECT_EQ(nameOfRemote(references, "a/b/c/x/y"), "a/b/c");
  EXPECT_EQ(nameOfRemote(references, "a/bc/x"), "a");
  EXPECT_EQ(nameOfRemote(references, "a"), "none");
  EXPECT_EQ(nameOfRemote(references, "c/x"), "none");
  EXPECT_EQ(nameOfRemote({}, "a/x"), "none");
}

// Against the plain definition. "!" comes before the slash, "0" after it.
TEST(ReferencesSnapshot, TheRemoteOfABranchIsFoundAmongNamesOfAnyKind) {
  std::mt19937 random(7);
  const auto below = [&random](std::size_t bound) { return random() % bound; };
  const auto name = [&below] {
    std::string text;
    for (std::size_t left = 1 + below(6); left > 0; --left) text += "!0/"[below(3)];
    return text;
  };
  for (int round = 0; round < 3000; ++round) {
    std::set<std::string> names;
    for (std::size_t left = below(8); left > 0; --left) names.insert(name());
    const std::string branch = name() + name();
    std::string want = "none";
    for (const std::string& each : names)
      if (branch.starts_with(each + "/") && (want == "none" || each.size() > want.size()))
        want = each;
    ASSERT_EQ(nameOfRemote(withRemotes(names), branch), want) << branch;
  }
}

// One by one this would take longer than a test may.
TEST(ReferencesSnapshot, AHundredThousandBranchesOfAsManyRemotesAreTold) {
  constexpr std::size_t kCount = 100'000;
  std::set<std::string> names;
  for (std::size_t i = 0; i < kCount; ++i) names.insert("remote" + std::to_string(i));
  const ReferencesSnapshot references = withRemotes(names);
  for (const std::string& name : names) ASSERT_EQ(nameOfRemote(references, name + "/main"), name);
}

}  // namespace
}  // namespace kelpie::agent
