#include "agent/git/ProgramGuard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/git/GitSandbox.h"
#include "agent/git/IndexFolders.h"
#include "agent/git/ReferencesReader.h"
#include "agent/git/StatusReader.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {
namespace {

// A repository whose configuration names a program that leaves a mark.
class ProgramGuardTest : public testing::Test {
 protected:
  void SetUp() override {
    sandbox_.writeScript("evil", "echo \"$@\" >>'" + mark() + "'; cat\n");
    sandbox_.init("r");
    sandbox_.write("r/a.txt", "one\n");
    sandbox_.commitAll("r", "one");
  }

  std::string evil() const { return sandbox_.path("evil"); }
  std::string mark() const { return sandbox_.path("mark"); }
  bool isMarked() const { return sandbox_.exists("mark"); }
  // git asks the filter again only of files that do not look as they did.
  void touch(const std::string& file) const { sandbox_.write(file, sandbox_.read(file)); }
  void config(const std::string& key, const std::string& value,
              const std::string& folder = "r") const {
    sandbox_.git(folder, {"config", key, value});
  }
  void addToUsersSettings(const std::string& text) const {
    sandbox_.write(".gitconfig", sandbox_.read(".gitconfig") + text);
  }

  GitCommand git() const { return GitCommand("git", "/").guardedBy(guard_); }
  ReadingRules rules(const std::string& folder = "r") const {
    return guard_->rulesFor(sandbox_.path(folder));
  }
  WorkingCopy workingCopy(const std::string& folder = "r") const {
    const auto finding = WorkingCopyFinder(git()).find(sandbox_.path(folder));
    EXPECT_TRUE(finding.workingCopy) << finding.failure;
    return finding.workingCopy.value_or(WorkingCopy());
  }
  // Everything that is asked of a repository that is shown. The words of the status, by path.
  std::map<std::string, int> readAll(const std::string& folder = "r") const {
    const WorkingCopy copy = workingCopy(folder);
    EXPECT_EQ(ReferencesReader(git(), copy).read().index(), 0U);
    EXPECT_TRUE(IndexFolders(git(), copy).readIfChanged());
    const StatusReader::Reading status = StatusReader(git(), copy).read();
    std::map<std::string, int> words;
    if (const auto* failure = std::get_if<1>(&status)) ADD_FAILURE() << *failure;
    if (const auto* read = std::get_if<0>(&status))
      for (const StatusItem& item : (*read)->items()) words[item.path] = item.word;
    return words;
  }
  // What is true of git itself: such a test shows that the program would be run.
  void expectThatGitRuns(const std::string& folder = "r") const {
    (void)sandbox_.tryGit(folder, {"status"});
    (void)sandbox_.tryGit(folder, {"stash", "list"});
    EXPECT_TRUE(isMarked());
    sandbox_.remove("mark");
  }

  GitSandbox sandbox_;
  std::vector<std::string> trusted_;
  std::vector<std::pair<std::string, std::vector<std::string>>> withheld_;
  std::shared_ptr<ProgramGuard> guard_ = std::make_shared<ProgramGuard>(
      GitCommand("git", "/"),
      ProgramGuard::Callbacks{[this] { return trusted_; },
                              [this](const std::string& root, const std::vector<std::string>& all) {
                                withheld_.emplace_back(root, all);
                              }});
};

TEST_F(ProgramGuardTest, AMonitorOfTheRepositorysIsNotRun) {
  config("core.fsmonitor", evil());
  expectThatGitRuns();
  readAll();
  EXPECT_FALSE(isMarked());
  ASSERT_EQ(withheld_.size(), 1U);
  EXPECT_EQ(withheld_[0].first, sandbox_.path("r"));
  EXPECT_EQ(withheld_[0].second, std::vector{"core.fsmonitor: " + evil()});
}

TEST_F(ProgramGuardTest, AFilterOfTheRepositorysIsNotRun) {
  for (const char* variable : {"clean", "process"}) {
    SCOPED_TRACE(variable);
    config("filter.x.clean", "cat");
    sandbox_.write("r/.gitattributes", "*.txt filter=x\n");
    sandbox_.commitAll("r", "filtered");
    config(std::string("filter.x.") + variable, evil());
    config("filter.x.required", "true");
    touch("r/a.txt");
    expectThatGitRuns();
    touch("r/a.txt");
    readAll();
    EXPECT_FALSE(isMarked());
    EXPECT_EQ(rules().filters, std::vector<std::string>{"x"});
    sandbox_.git("r", {"config", "--remove-section", "filter.x"});
  }
}

// What may stand in the name of a filter.
TEST_F(ProgramGuardTest, NoNameOfAFilterGetsThrough) {
  for (const char* name : {"a=b", "a.b", "a b", "a'b", "-c", "\xff", "A", "a\"b"}) {
    SCOPED_TRACE(name);
    std::string quoted(name);
    if (const auto at = quoted.find('"'); at != std::string::npos) quoted.insert(at, "\\");
    sandbox_.write("r/.git/config", "[core]\n\tbare = false\n[filter \"" + quoted +
                                        "\"]\n\tclean = " + evil() + "\n");
    sandbox_.write("r/.git/info/attributes", std::string("*.txt filter=") + name + "\n");
    touch("r/a.txt");
    readAll();
    EXPECT_FALSE(isMarked());
    EXPECT_EQ(rules().filters, std::vector<std::string>{name});
  }
}

TEST_F(ProgramGuardTest, AnIncludedFileIsTheRepositorysToo) {
  sandbox_.write("elsewhere", "[core]\n\tfsmonitor = " + evil() + "\n");
  config("includeIf.onbranch:main.path", sandbox_.path("elsewhere"));
  expectThatGitRuns();
  readAll();
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, ALinkedWorkingTreeHasSettingsOfItsOwn) {
  config("extensions.worktreeConfig", "true");
  sandbox_.git("r", {"worktree", "add", "-q", "../linked"});
  sandbox_.git("linked", {"config", "--worktree", "core.fsmonitor", evil()});
  expectThatGitRuns("linked");
  readAll("linked");
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, ASubmodulesProgramsAreNotRunByTheStatusAboveIt) {
  sandbox_.init("lib");
  sandbox_.write("lib/b.txt", "one\n");
  sandbox_.write("lib/.gitattributes", "*.txt filter=x\n");
  sandbox_.commitAll("lib", "one");
  sandbox_.git("r", {"submodule", "--quiet", "add", "../lib", "deps/lib"});
  sandbox_.commitAll("r", "two");
  config("core.fsmonitor", evil(), "r/deps/lib");
  config("filter.x.clean", evil(), "r/deps/lib");
  touch("r/deps/lib/b.txt");
  expectThatGitRuns();
  touch("r/deps/lib/b.txt");
  readAll();
  EXPECT_FALSE(isMarked());
  // One that ".gitmodules" does not name is looked into by git all the same.
  sandbox_.remove("r/.gitmodules");
  touch("r/deps/lib/b.txt");
  readAll();
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, ASignatureIsNotCheckedByTheRepositorysProgram) {
  config("gpg.program", evil());
  config("log.showSignature", "true");
  sandbox_.write("r/a.txt", "two\n");
  sandbox_.git("r", {"stash", "-q"});
  // A commit that bears a signature stands in for the stash's.
  const std::string commit = sandbox_.git("r", {"cat-file", "commit", "stash"});
  const std::size_t end = commit.find("\n\n");
  sandbox_.write("signed", commit.substr(0, end) +
                               "\ngpgsig -----BEGIN PGP SIGNATURE-----\n x\n "
                               "-----END PGP SIGNATURE-----" +
                               commit.substr(end));
  const std::string oid =
      sandbox_.git("r", {"hash-object", "-t", "commit", "-w", sandbox_.path("signed")});
  sandbox_.git("r", {"stash", "store", "-m", "signed", oid});
  expectThatGitRuns();
  readAll();
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, WhatAPartialCloneLacksIsNotFetched) {
  config("remote.origin.url", sandbox_.path("r"));
  config("remote.origin.promisor", "true");
  // git would wait for what a filter answers.
  sandbox_.writeScript("remote", "echo >'" + mark() + "'\n");
  config("remote.origin.uploadpack", sandbox_.path("remote"));
  config("core.repositoryFormatVersion", "1");
  config("extensions.partialClone", "origin");
  sandbox_.git("r", {"checkout", "-q", "-b", "other"});
  const std::string tree = sandbox_.git("r", {"rev-parse", "HEAD^{tree}"});
  sandbox_.remove("r/.git/objects/" + tree.substr(0, 2) + "/" + tree.substr(2));
  expectThatGitRuns();
  (void)StatusReader(git(), workingCopy()).read();
  (void)ReferencesReader(git(), workingCopy()).read();
  EXPECT_FALSE(isMarked());
  // An older git, which knows of no way not to fetch, is allowed no way to fetch by.
  sandbox_.setVariable("PATH", sandbox_.path("old") + ":" + std::getenv("PATH"));
  sandbox_.writeScript("old/git", "unset GIT_NO_LAZY_FETCH; PATH=${PATH#*:} exec git \"$@\"\n");
  (void)StatusReader(git(), workingCopy()).read();
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, HooksAreNotRun) {
  sandbox_.writeScript("r/.git/hooks/post-index-change", "echo >'" + mark() + "'\n");
  touch("r/a.txt");
  expectThatGitRuns();
  touch("r/a.txt");
  readAll();
  EXPECT_FALSE(isMarked());
}

// -- Whose programs ------------------------------------------------------------------------------

TEST_F(ProgramGuardTest, TheUsersOwnProgramsStayOn) {
  addToUsersSettings("[filter \"x\"]\n\tclean = " + evil() + "\n");
  sandbox_.write("r/.gitattributes", "*.txt filter=x\n");
  touch("r/a.txt");
  readAll();
  EXPECT_TRUE(isMarked());
  sandbox_.remove("mark");
  EXPECT_TRUE(withheld_.empty());
  // The repository's own do not take their place.
  config("filter.x.clean", "false");
  config("filter.x.required", "true");
  touch("r/a.txt");
  EXPECT_EQ(readAll(), (std::map<std::string, int>{{".gitattributes", KPStatusWorkdirNew}}));
  EXPECT_TRUE(isMarked());
  EXPECT_TRUE(rules().filters.empty());
}

TEST_F(ProgramGuardTest, WhatTheUserNamesByAPathInTheWorkingFolderIsTheRepositorys) {
  addToUsersSettings("[core]\n\tfsmonitor = ./monitor\n");
  sandbox_.writeScript("r/monitor", "echo >'" + mark() + "'\n");
  expectThatGitRuns();
  readAll();
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, ExtensionsOfGitLfsAreTheRepositorys) {
  addToUsersSettings("[filter \"lfs\"]\n\tclean = " + evil() + "\n");
  sandbox_.write("r/.gitattributes", "*.txt filter=lfs\n");
  config("lfs.extension.x.clean", evil());
  touch("r/a.txt");
  readAll();
  EXPECT_FALSE(isMarked());
}

TEST_F(ProgramGuardTest, TrustLetsThemRunAndItsEndDoesNot) {
  config("core.fsmonitor", evil());
  readAll();
  trusted_ = {sandbox_.path("r")};
  readAll();
  EXPECT_TRUE(isMarked());
  sandbox_.remove("mark");
  ASSERT_EQ(withheld_.size(), 2U);
  EXPECT_TRUE(withheld_[1].second.empty());
  trusted_.clear();
  readAll();
  EXPECT_FALSE(isMarked());
  EXPECT_EQ(withheld_.size(), 3U);
}

TEST_F(ProgramGuardTest, TrustIsForOneRepositoryAndWhatGitItselfMadeInIt) {
  sandbox_.init("r/inner");
  sandbox_.write("r/inner/a", "");
  sandbox_.commitAll("r/inner", "one");
  config("core.fsmonitor", evil(), "r/inner");
  trusted_ = {sandbox_.path("r")};
  readAll("r/inner");
  EXPECT_FALSE(isMarked());
  // A linked working tree has the configuration of the repository.
  config("core.fsmonitor", evil());
  sandbox_.git("r", {"worktree", "add", "-q", "../linked"});
  sandbox_.remove("mark");
  readAll("linked");
  EXPECT_TRUE(isMarked());
}

// -- Changes -------------------------------------------------------------------------------------

TEST_F(ProgramGuardTest, AChangeOfTheConfigurationIsSeen) {
  sandbox_.write("r/.git/info/attributes", "*.txt filter=x\n");
  readAll();
  config("include.path", "later");
  touch("r/a.txt");
  readAll();
  sandbox_.write("r/.git/later", "[filter \"x\"]\n\tclean = " + evil() + "\n");
  touch("r/a.txt");
  readAll();
  EXPECT_FALSE(isMarked());
  EXPECT_EQ(rules().filters, std::vector<std::string>{"x"});
}

TEST_F(ProgramGuardTest, WhatHasNotChangedCostsNoProcess) {
  sandbox_.setVariable("PATH", sandbox_.path("counting") + ":" + std::getenv("PATH"));
  sandbox_.writeScript(
      "counting/git", "echo >>'" + sandbox_.path("calls") + "'; PATH=${PATH#*:} exec git \"$@\"\n");
  // Files so young that another change could look the same are read again.
  const auto calls = [this] { return sandbox_.read("calls").size(); };
  for (int tries = 0; tries < 1000; ++tries) {
    const std::size_t before = calls();
    (void)rules();
    if (calls() == before) return;
  }
  FAIL() << "git is asked each time";
}

// As while a working copy is being unpacked: it may be a repository when the next question comes.
TEST_F(ProgramGuardTest, NothingIsAskedWhereTheRepositoryIsNotWholeYet) {
  config("core.fsmonitor", evil());
  const WorkingCopy copy = workingCopy();
  sandbox_.remove("r/.git/HEAD");
  const ReadingRules early = rules();
  EXPECT_FALSE(early.refusal.empty());
  sandbox_.write("r/.git/HEAD", "ref: refs/heads/main\n");
  (void)git().in(copy.root).askUnder(early, {"status"});
  EXPECT_FALSE(isMarked());
  EXPECT_TRUE(rules().refusal.empty()) << "it is whole now";
  expectThatGitRuns();
}

TEST_F(ProgramGuardTest, MoreThanCanBeSwitchedOffIsNotAsked) {
  std::string many;
  for (int i = 0; i < 1000; ++i)
    many += "[filter \"f" + std::to_string(i) + "\"]\n\tclean = " + evil() + "\n";
  sandbox_.write("r/.git/config", sandbox_.read("r/.git/config") + many);
  sandbox_.write("r/.gitattributes", "*.txt filter=f999\n");
  touch("r/a.txt");
  const auto reading = StatusReader(git(), workingCopy()).read();
  EXPECT_EQ(reading.index(), 1U);
  EXPECT_FALSE(isMarked());
}

// -- Where changes go ----------------------------------------------------------------------------

TEST_F(ProgramGuardTest, AWorkingCopyThatMovedItsWorkTreeIsNotChanged) {
  sandbox_.write("victim/a.txt", "precious\n");
  const WorkingCopy copy = workingCopy();
  const GitCommand bound = git().within(copy);
  EXPECT_EQ(bound.objection(), "");
  config("core.worktree", sandbox_.path("victim"));
  const ProgramResult result = bound.change({"reset", "-q", "--hard"});
  EXPECT_FALSE(result.succeeded());
  EXPECT_NE(result.failure().find("work tree is another folder"), std::string::npos)
      << result.failure();
  EXPECT_EQ(sandbox_.read("victim/a.txt"), "precious\n");
}

TEST_F(ProgramGuardTest, TheFilesThatARepositoryNamesAreItsOwnWhereverTheyLie) {
  using Files = std::vector<std::string>;
  EXPECT_EQ(guard_->settingsFilesOf(sandbox_.path("r")), Files());
  EXPECT_EQ(guard_->settingsFilesOf(sandbox_.root()), Files()) << "there is none";
  addToUsersSettings("[core]\n\tattributesFile = ~/users\n[include]\n\tpath = ~/included\n");
  config("include.path", "more");
  config("core.excludesFile", "../ignored");
  EXPECT_EQ(guard_->settingsFilesOf(sandbox_.path("r")),
            (Files{sandbox_.path("r/../ignored"), sandbox_.path("r/.git/more")}))
      << "whether they are there or not";
  sandbox_.write("r/.git/more", "[core]\n\tattributesFile = /etc/list\n");
  EXPECT_EQ(guard_->settingsFilesOf(sandbox_.path("r")),
            (Files{sandbox_.path("r/../ignored"), sandbox_.path("r/.git/more"), "/etc/list"}));
}

TEST_F(ProgramGuardTest, TheRepositoryAroundAVanishedOneIsNotChanged) {
  sandbox_.init("r/inner");
  sandbox_.commitAll("r/inner", "one");
  const GitCommand bound = git().within(workingCopy("r/inner"));
  sandbox_.remove("r/inner/.git");
  sandbox_.write("r/a.txt", "precious\n");
  EXPECT_FALSE(bound.change({"reset", "-q", "--hard"}).succeeded());
  EXPECT_EQ(sandbox_.read("r/a.txt"), "precious\n");
}

TEST_F(ProgramGuardTest, ASubmoduleWithItsWorkTreeElsewhereIsNeitherEnteredNorChanged) {
  sandbox_.init("lib");
  sandbox_.write("lib/b.txt", "one\n");
  sandbox_.commitAll("lib", "one");
  sandbox_.git("r", {"submodule", "--quiet", "add", "../lib", "lib"});
  sandbox_.commitAll("r", "two");
  const GitCommand bound = git().within(workingCopy());
  EXPECT_EQ(bound.objection(), "");
  EXPECT_TRUE(rules().mayEnterSubmodules);
  sandbox_.write("victim/b.txt", "precious\n");
  config("core.worktree", sandbox_.path("victim"), "r/lib");
  EXPECT_FALSE(rules().mayEnterSubmodules);
  EXPECT_FALSE(bound.change({"submodule", "update", "--checkout", "--force"}).succeeded());
  EXPECT_EQ(sandbox_.read("victim/b.txt"), "precious\n");
  // What is shown of it is whether it has another commit.
  EXPECT_TRUE(readAll().empty());
}

}  // namespace
}  // namespace kelpie::agent
