#include "agent/git/ReferencesReader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/AnsweringGit.h"
#include "agent/git/GitSandbox.h"

namespace kelpie::agent {
namespace {

std::vector<std::string> namesOf(const std::vector<Reference>& references) {
  std::vector<std::string> names;
  for (const Reference& each : references) names.push_back(each.shortName);
  return names;
}

class ReferencesReaderTest : public testing::Test {
 protected:
  void SetUp() override {
    sandbox_.init("r");
    sandbox_.write("r/a", "1\n");
    sandbox_.commitAll("r", "one");
  }

  // A reader of the repository in `folder`, kept from one reading to the next.
  ReferencesReader& reader(const std::string& folder = "r") {
    if (!reader_) {
      const GitCommand git("git", "/");
      const auto finding = WorkingCopyFinder(git).find(sandbox_.path(folder));
      EXPECT_TRUE(finding.workingCopy) << finding.failure;
      reader_.emplace(git, finding.workingCopy.value_or(WorkingCopy()));
    }
    return *reader_;
  }

  ReferencesSnapshot read(const std::string& folder = "r") {
    const ReferencesReader::Reading reading = reader(folder).read();
    if (const auto* why = std::get_if<std::string>(&reading)) {
      ADD_FAILURE() << *why;
      return {};
    }
    return *std::get<0>(reading);
  }

  GitSandbox sandbox_;
  std::optional<ReferencesReader> reader_;
};

TEST_F(ReferencesReaderTest, BranchesAndTags) {
  sandbox_.git("r", {"branch", "feature/x"});
  sandbox_.git("r", {"tag", "v1"});
  sandbox_.git("r", {"tag", "-a", "-m", "m", "v2"});
  const ReferencesSnapshot refs = read();
  EXPECT_EQ(namesOf(refs.branches), (std::vector<std::string>{"feature/x", "main"}));
  EXPECT_EQ(namesOf(refs.tags), (std::vector<std::string>{"v1", "v2"}));
  const std::string commit = sandbox_.git("r", {"rev-parse", "HEAD"});
  EXPECT_EQ(refs.tags[1].oid, commit) << "of the commit, not of the tag";
  EXPECT_EQ(refs.branches[0].oid, commit);
  EXPECT_FALSE(refs.branches[0].isHead);
  EXPECT_TRUE(refs.branches[1].isHead);
  ASSERT_TRUE(refs.headBranch);
  EXPECT_EQ(refs.headBranch->fullName, "refs/heads/main");
  EXPECT_TRUE(refs.hasHeadCommit);
  EXPECT_FALSE(refs.bare);
  EXPECT_FALSE(refs.hasGitlfs);
  EXPECT_FALSE(refs.gitflow);
}

TEST_F(ReferencesReaderTest, NumbersNameTheSameReferenceForGood) {
  sandbox_.git("r", {"branch", "x"});
  const std::int64_t number = read().branches[1].number;
  sandbox_.git("r", {"branch", "a"});
  const ReferencesSnapshot refs = read();
  EXPECT_EQ(namesOf(refs.branches), (std::vector<std::string>{"a", "main", "x"}));
  EXPECT_EQ(refs.branches[2].number, number);
  EXPECT_EQ(refs.referenceWithNumber(number)->shortName, "x");
  sandbox_.git("r", {"branch", "-D", "x"});
  EXPECT_EQ(read().referenceWithNumber(number), nullptr);
}

TEST_F(ReferencesReaderTest, RemotesAndTheirBranches) {
  sandbox_.git("r", {"branch", "feature/y"});
  sandbox_.git(".", {"clone", "-q", "r", "c"});
  sandbox_.git("c", {"remote", "add", "empty", "/nowhere"});
  sandbox_.git("c", {"update-ref", "refs/remotes/gone/x", "HEAD"});
  const ReferencesSnapshot refs = read("c");
  ASSERT_EQ(refs.remotes.size(), 2U);
  EXPECT_EQ(refs.remotes[0].name, "empty");
  EXPECT_EQ(refs.remotes[1].name, "origin");
  EXPECT_EQ(refs.remotes[1].url, sandbox_.path("r"));
  EXPECT_EQ(namesOf(refs.remoteBranches),
            (std::vector<std::string>{"origin/feature/y", "origin/main"}))
      << "neither the remote's HEAD nor what is left of a removed remote";
  EXPECT_EQ(refs.branches[0].upstream, "refs/remotes/origin/main");
  EXPECT_EQ(refs.remoteOf(refs.remoteBranches[0])->name, "origin");
}

TEST_F(ReferencesReaderTest, ARemoteInsideTheNameOfAnotherKeepsItsBranches) {
  sandbox_.git("r", {"remote", "add", "team", "/nowhere"});
  sandbox_.git("r", {"remote", "add", "team/b", "/nowhere"});
  sandbox_.git("r", {"update-ref", "refs/remotes/team/b/x", "HEAD"});
  const ReferencesSnapshot refs = read();
  ASSERT_EQ(refs.remoteBranches.size(), 1U);
  EXPECT_EQ(refs.remoteOf(refs.remoteBranches[0])->name, "team/b");
}

// Looked for one by one they would take longer than a test may, however well optimised.
TEST_F(ReferencesReaderTest, VeryManySubmodulesGetTheirCommits) {
  constexpr std::size_t kCount = 100'000;
  constexpr std::size_t kMoreOfTheLast = 300'000;
  sandbox_.write("r/.gitmodules", "");
  std::string modules;
  std::string index;
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::string name = "m" + std::to_string(i);
    modules += "submodule." + name + ".path\n" + name + '\0';
    index += "160000 " + std::to_string(i) + " 0\t" + name + '\0';
  }
  const std::string last = "160000 last 0\tm" + std::to_string(kCount - 1) + '\0';
  for (std::size_t left = kMoreOfTheLast; left > 0; --left) index += last;
  const std::string root = sandbox_.path("r");
  ReferencesReader reader(answeringGit(root, {"", "", "refs/heads/main\n", "", modules, index}),
                          {root, root + "/.git", root + "/.git", false});
  const ReferencesReader::Reading reading = reader.read();
  ASSERT_TRUE(std::holds_alternative<std::shared_ptr<const ReferencesSnapshot>>(reading));
  const std::vector<Submodule>& submodules = std::get<0>(reading)->submodules;
  ASSERT_EQ(submodules.size(), kCount);
  EXPECT_EQ(submodules.at(kCount - 2).oid, std::to_string(kCount - 2));
  EXPECT_EQ(submodules.back().oid, "last");
}

TEST_F(ReferencesReaderTest, ADetachedHeadIsABranchOfItsOwn) {
  sandbox_.git("r", {"checkout", "-q", "--detach"});
  const ReferencesSnapshot refs = read();
  ASSERT_EQ(namesOf(refs.branches), (std::vector<std::string>{"main", "(HEAD)"}));
  EXPECT_FALSE(refs.branches[0].isHead);
  EXPECT_TRUE(refs.branches[1].isDetached);
  EXPECT_EQ(refs.branches[1].oid, sandbox_.git("r", {"rev-parse", "HEAD"}));
  ASSERT_TRUE(refs.headBranch);
  EXPECT_EQ(refs.headBranch->fullName, "HEAD");
  EXPECT_TRUE(refs.hasHeadCommit);
}

TEST_F(ReferencesReaderTest, ARepositoryWithoutACommitHasABranchToBe) {
  sandbox_.init("new");
  const ReferencesSnapshot refs = read("new");
  EXPECT_TRUE(refs.branches.empty());
  ASSERT_TRUE(refs.headBranch);
  EXPECT_EQ(refs.headBranch->fullName, "refs/heads/main");
  EXPECT_EQ(refs.headBranch->oid, "");
  EXPECT_FALSE(refs.hasHeadCommit);
}

TEST_F(ReferencesReaderTest, StashesNewestFirst) {
  sandbox_.write("r/a", "2\n");
  sandbox_.git("r", {"stash", "push", "-q", "-m", "first"});
  sandbox_.write("r/a", "3\n");
  sandbox_.git("r", {"stash", "push", "-q"});
  const ReferencesSnapshot refs = read();
  ASSERT_EQ(refs.stashes.size(), 2U);
  EXPECT_TRUE(refs.stashes[0].title.starts_with("WIP on main: ")) << refs.stashes[0].title;
  EXPECT_EQ(refs.stashes[1].title, "On main: first");
  EXPECT_EQ(refs.stashes[1].oid, sandbox_.git("r", {"rev-parse", "stash@{1}"}));
}

TEST_F(ReferencesReaderTest, SubmodulesWithTheirCommits) {
  sandbox_.init("lib");
  sandbox_.commitAll("lib", "one");
  sandbox_.git("r", {"submodule", "--quiet", "add", "../lib", "deps/lib"});
  sandbox_.git("r", {"submodule", "--quiet", "add", "--name", "other", "../lib", "deps/more lib"});
  const ReferencesSnapshot refs = read();
  ASSERT_EQ(refs.submodules.size(), 2U);
  EXPECT_EQ(refs.submodules[0].name, "deps/lib");
  EXPECT_EQ(refs.submodules[0].url, "../lib");
  EXPECT_EQ(refs.submodules[0].oid, sandbox_.git("lib", {"rev-parse", "HEAD"}));
  EXPECT_EQ(refs.submodules[1].name, "other");
  EXPECT_EQ(refs.submodules[1].path, "deps/more lib");
  EXPECT_EQ(refs.submodules[1].oid, refs.submodules[0].oid);
}

TEST_F(ReferencesReaderTest, PullRequestsWhereTheirReferencesAre) {
  sandbox_.git("r", {"update-ref", "refs/pull/12/head", "HEAD"});
  sandbox_.git("r", {"update-ref", "refs/pull/12/merge", "HEAD"});
  sandbox_.git("r", {"update-ref", "refs/merge-requests/3/head", "HEAD"});
  const ReferencesSnapshot refs = read();
  ASSERT_EQ(refs.pullRequests.size(), 2U);
  EXPECT_EQ(refs.pullRequests[0].title, "!3 one");
  EXPECT_EQ(refs.pullRequests[1].title, "#12 one");
}

TEST_F(ReferencesReaderTest, GitflowBranchesByTheirPrefixes) {
  sandbox_.git("r", {"config", "gitflow.branch.master", "main"});
  sandbox_.git("r", {"config", "gitflow.branch.develop", "develop"});
  sandbox_.git("r", {"config", "gitflow.prefix.hotfix", "fix-"});
  for (const char* name : {"develop", "feature/a", "feature/b", "release/1", "fix-1", "other"})
    sandbox_.git("r", {"branch", name});
  const ReferencesSnapshot refs = read();
  ASSERT_TRUE(refs.gitflow);
  EXPECT_EQ(refs.gitflow->features, (std::vector<std::string>{"feature/a", "feature/b"}));
  EXPECT_EQ(refs.gitflow->releases, (std::vector<std::string>{"release/1"}));
  EXPECT_EQ(refs.gitflow->hotfixes, (std::vector<std::string>{"fix-1"}));
}

TEST_F(ReferencesReaderTest, GitlfsIsKnownByAttributesAndByItsFolder) {
  sandbox_.write("r/.gitattributes", "*.psd filter=lfs diff=lfs merge=lfs -text\n");
  EXPECT_TRUE(read().hasGitlfs);
  sandbox_.remove("r/.gitattributes");
  EXPECT_FALSE(read().hasGitlfs);
  sandbox_.makeFolder("r/.git/lfs");
  EXPECT_TRUE(read().hasGitlfs);
}

TEST_F(ReferencesReaderTest, OfABareRepository) {
  sandbox_.git(".", {"clone", "-q", "--bare", "r", "b.git"});
  const ReferencesSnapshot refs = read("b.git");
  EXPECT_TRUE(refs.bare);
  EXPECT_EQ(namesOf(refs.branches), (std::vector<std::string>{"main"}));
  EXPECT_TRUE(refs.hasHeadCommit);
}

TEST_F(ReferencesReaderTest, OfALinkedWorkingTreeItsOwnHead) {
  sandbox_.git("r", {"worktree", "add", "-q", "-b", "other", "../linked"});
  const ReferencesSnapshot refs = read("linked");
  ASSERT_TRUE(refs.headBranch);
  EXPECT_EQ(refs.headBranch->shortName, "other");
  EXPECT_EQ(refs.branches.size(), 2U);
}

TEST_F(ReferencesReaderTest, ARepositoryThatIsGoneTellsGitsWords) {
  reader();
  sandbox_.remove("r/.git");
  const ReferencesReader::Reading reading = reader().read();
  EXPECT_TRUE(std::holds_alternative<std::string>(reading));
}

}  // namespace
}  // namespace kelpie::agent
