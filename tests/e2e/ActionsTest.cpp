#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Configuration.h"
#include "e2e/ProcessHost.h"
#include "e2e/TestHost.h"
#include "e2e/TestRepository.h"

namespace kelpie {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

// The way of an action through all programs: from the menu of a file manager to what git has done.
class Actions : public testing::Test {
 protected:
  Actions() {
    TestRepository::prepare(session);
    const char* path = std::getenv("PATH");
    session.setVariable("PATH", session.home() / "bin" + (path == nullptr ? "" : ":") +
                                    (path == nullptr ? "" : path));
    session.setVariable("DISPLAY", std::nullopt);
    session.setVariable("WAYLAND_DISPLAY", std::nullopt);
  }

  // A program on the PATH of those that are started from now on.
  void addProgram(const std::string& name, const std::string& script) {
    const std::string file = session.home().addFile("bin/" + name, "#!/bin/sh\n" + script);
    fs::permissions(file, fs::perms::owner_all);
    session.setVariable("DISPLAY", ":kelpie");
  }
  void start(const std::string& folder) {
    agent = session.start("kelpie-agent");
    ASSERT_TRUE(session.waitForSocket(session.runtime().portsFolder() + "/" +
                                      std::string(kApplicationGroup) + ".App"));
    sync = session.startSync();
    files = std::make_unique<TestHost>(session);
    files->hello();
    files->send({{"type", "beginObserving"}, {"url", fileURL(folder)}});
  }
  void expectBadge(const std::string& item, const std::string& badge) {
    files->send({{"type", "requestBadges"}, {"urls", json::array({fileURL(item)})}});
    EXPECT_TRUE(files->waitForBadge(fileURL(item), badge));
  }

  // The index path of the item to which the titles lead, the first of them in whatever submenu;
  // empty when there is none that can be chosen.
  static std::vector<std::size_t> find(const json& menu, const std::vector<std::string>& titles,
                                       std::size_t level = 0) {
    if (!menu.is_object()) return {};
    for (std::size_t i = 0; i < menu.at("items").size(); ++i) {
      const json& item = menu.at("items")[i];
      std::vector<std::size_t> path = {i};
      const bool matches = item.at("title") == titles[level];
      if (matches && level + 1 == titles.size()) {
        if (item.at("action").is_string() && item.at("enabled").get<bool>()) return path;
        continue;
      }
      const auto below = find(item.at("submenu"), titles, matches ? level + 1 : level);
      if (below.empty() || (!matches && level > 0)) continue;
      path.insert(path.end(), below.begin(), below.end());
      return path;
    }
    return {};
  }
  // Chooses an item from the menu for `item`, as soon as the menu has it.
  void choose(const std::string& item, const std::vector<std::string>& titles) {
    std::vector<std::size_t> path;
    ASSERT_TRUE(session.waitUntil([&] {
      path = find(files->menu(0, {fileURL(item)}), titles);
      return !path.empty();
    })) << titles.back();
    EXPECT_FALSE(files->choose(path).is_null());
  }
  bool waitForContent(const std::string& file, const std::string& content) {
    return session.waitUntil([&] { return contentOf(file) == content; });
  }
  static std::string contentOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  ProcessHost session;
  std::unique_ptr<ChildProcess> agent;
  std::unique_ptr<ChildProcess> sync;
  std::unique_ptr<TestHost> files;
};

TEST_F(Actions, FilesAreStagedAndUnstaged) {
  const TestRepository repository(session, "r");
  repository.write("tracked", "2\n");
  start(repository.path());
  expectBadge(repository / "tracked", "KPWorkdirModifiedBadge");
  choose(repository / "tracked", {"Stage \"tracked\""});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPIndexModifiedBadge"));
  choose(repository / "tracked", {"Unstage \"tracked\""});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPWorkdirModifiedBadge"));
}

TEST_F(Actions, NothingIsDiscardedWhereNobodyCanBeAsked) {
  const TestRepository repository(session, "r");
  repository.write("tracked", "2\n");
  start(repository.path());
  expectBadge(repository / "tracked", "KPWorkdirModifiedBadge");
  choose(repository / "tracked", {"Discard Changes in \"tracked\"\u2026"});
  EXPECT_TRUE(agent->waitForErrors("no way to ask"));
  EXPECT_EQ(contentOf(repository / "tracked"), "2\n");
}

TEST_F(Actions, ChangesAreDiscardedWhenTheUserAgrees) {
  const TestRepository repository(session, "r");
  repository.write("tracked", "2\n");
  addProgram("zenity", "exit 0\n");
  start(repository.path());
  expectBadge(repository / "tracked", "KPWorkdirModifiedBadge");
  choose(repository / "tracked", {"Discard Changes in \"tracked\"\u2026"});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPCurrentBadge"));
  EXPECT_EQ(contentOf(repository / "tracked"), "1\n");
}

TEST_F(Actions, AnIgnoredFileHasItsPattern) {
  const TestRepository repository(session, "r");
  repository.write("a*b", "");
  start(repository.path());
  expectBadge(repository / "a*b", "KPWorkdirNewBadge");
  choose(repository / "a*b", {"Ignore \"a*b\""});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "a*b"), "KPIgnoredBadge"));
  EXPECT_EQ(contentOf(repository / ".gitignore"), "/a\\*b\n");
}

TEST_F(Actions, ABranchIsPickedAndCheckedOut) {
  const TestRepository repository(session, "r");
  repository.git({"branch", "feature/x"});
  repository.git({"branch", "x"});
  start(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  choose(repository / "tracked", {"Checkout", "feature", "x"});
  EXPECT_TRUE(waitForContent(repository / ".git/HEAD", "ref: refs/heads/feature/x\n"));
  choose(repository / "tracked", {"Checkout", "x"});
  EXPECT_TRUE(waitForContent(repository / ".git/HEAD", "ref: refs/heads/x\n"));
}

TEST_F(Actions, AConflictIsResolved) {
  const TestRepository repository(session, "r");
  repository.git({"checkout", "-q", "-b", "other"});
  repository.write("tracked", "theirs\n");
  repository.git({"commit", "-q", "-a", "-m", "theirs"});
  repository.git({"checkout", "-q", "main"});
  repository.write("tracked", "ours\n");
  repository.git({"commit", "-q", "-a", "-m", "ours"});
  addProgram("zenity", "exit 0\n");
  start(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  choose(repository / "tracked", {"Merge With", "other"});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPConflictedBadge"));
  choose(repository / "tracked", {"Resolve \"tracked\"", "Resolve Using Theirs"});
  EXPECT_TRUE(files->waitForBadge(fileURL(repository / "tracked"), "KPIndexModifiedBadge"));
  EXPECT_EQ(contentOf(repository / "tracked"), "theirs\n");
}

TEST_F(Actions, AStashIsAppliedByItsPlaceInTheList) {
  const TestRepository repository(session, "r");
  for (const char* name : {"first", "second"}) {
    repository.write("tracked", name);
    repository.git({"stash", "push", "-q", "-m", name});
  }
  start(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  choose(repository / "tracked", {"Apply Stash", "On main: first"});
  EXPECT_TRUE(waitForContent(repository / "tracked", "first"));
}

TEST_F(Actions, ARemoteIsFetchedAndPushedTo) {
  const TestRepository far(session, "far");
  const TestRepository repository(session, "r");
  repository.git({"remote", "add", "origin", far.path()});
  start(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  choose(repository / "tracked", {"Fetch\u2026", "Fetch All Remotes"});
  EXPECT_TRUE(
      session.waitUntil([&] { return fs::exists(repository / ".git/refs/remotes/origin/main"); }));
  repository.git({"branch", "topic"});
  choose(repository / "tracked", {"Push", "topic"});
  EXPECT_TRUE(session.waitUntil([&] { return fs::exists(far / ".git/refs/heads/topic"); }));
}

TEST_F(Actions, AFeatureOfGitflowIsFinished) {
  const TestRepository repository(session, "r");
  repository.git({"config", "gitflow.branch.master", "main"});
  repository.git({"config", "gitflow.branch.develop", "develop"});
  repository.git({"branch", "develop"});
  repository.git({"checkout", "-q", "-b", "feature/x"});
  repository.write("new", "");
  repository.git({"add", "new"});
  repository.git({"commit", "-q", "-m", "feature"});
  start(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  choose(repository / "tracked", {"Finish Git-Flow Feature", "feature/x"});
  EXPECT_TRUE(
      session.waitUntil([&] { return !fs::exists(repository / ".git/refs/heads/feature/x"); }));
  EXPECT_EQ(contentOf(repository / ".git/HEAD"), "ref: refs/heads/develop\n");
}

TEST_F(Actions, AWindowOpensInTheProgramForIt) {
  const TestRepository repository(session, "r");
  const std::string seen = session.home() / "seen";
  addProgram("gitk", "pwd > '" + seen + ".part'; mv '" + seen + ".part' '" + seen + "'\n");
  start(repository.path());
  expectBadge(repository / "tracked", "KPCurrentBadge");
  choose(repository / "tracked", {"Browser\u2026"});
  EXPECT_TRUE(waitForContent(seen, repository.path() + "\n"));
}

TEST_F(Actions, ARepositoryIsMadeInAPlainFolder) {
  const std::string folder = session.home().addFolder("plain/inner");
  start(session.home() / "plain");
  choose(folder, {"Create\u2026"});
  EXPECT_TRUE(session.waitUntil([&] { return fs::exists(folder + "/.git/HEAD"); }));
}

}  // namespace
}  // namespace kelpie
