#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"
#include "foundation/Dictionary.h"
#include "settings/SettingsKeys.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// What is chosen from the menu of a repository is done by git.
class RepositoryItems : public ProgramsFixture {
 protected:
  void start() { startWith(repository, file, "KPCurrentBadge"); }
  // A remote with a commit that the repository does not have.
  void addOriginThatIsAhead() {
    home("init", {"-q", "--bare", "origin.git"});
    session.git("r", {"remote", "add", "origin", session.home() / "origin.git"});
    session.git("r", {"push", "-q", "-u", "origin", "main"});
    home("clone", {"-q", "origin.git", "other"});
    session.append("other/file.txt", "from elsewhere");
    session.git("other", {"commit", "-q", "-a", "-m", "From elsewhere"});
    session.git("other", {"push", "-q"});
  }
  void home(const std::string& command, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), command);
    session.git("", arguments);
  }

  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
};

TEST_F(RepositoryItems, CheckoutByThePicker) {
  session.git("r", {"branch", "topic/one"});
  session.git("r", {"branch", "one"});
  start();
  EXPECT_TRUE(host().choose({file}, {"Checkout", "topic", "one"}));
  EXPECT_TRUE(gitSays("r", {"branch", "--show-current"}, "topic/one"));
  EXPECT_TRUE(host().choose({file}, {"Checkout", "one"}));
  EXPECT_TRUE(gitSays("r", {"branch", "--show-current"}, "one"));
}

TEST_F(RepositoryItems, ANewBranchIsNamedByTheUser) {
  session.addUser(kTypesTopic);
  start();
  EXPECT_TRUE(host().choose({file}, {"New Branch from", "main"}));
  EXPECT_TRUE(gitSays("r", {"branch", "--list", "topic"}, "  topic"));
  EXPECT_FALSE(host().waitForItem({file}, {"Checkout", "topic"}).is_null());
}

TEST_F(RepositoryItems, AMergeBringsTheOtherBranch) {
  session.git("r", {"checkout", "-q", "-b", "topic"});
  session.append("r/file.txt", "topic");
  session.git("r", {"commit", "-q", "-a", "-m", "Topic"});
  session.git("r", {"checkout", "-q", "main"});
  start();
  EXPECT_TRUE(host().choose({file}, {"Merge With", "topic"}));
  EXPECT_TRUE(gitSays("r", {"log", "-1", "--format=%s"}, "Topic"));
}

TEST_F(RepositoryItems, FetchPullAndPush) {
  addOriginThatIsAhead();
  start();
  const std::string ahead = session.git("other", {"rev-parse", "HEAD"});
  EXPECT_TRUE(host().choose({file}, {"Fetch…", "origin"}));
  EXPECT_TRUE(gitSays("r", {"rev-parse", "origin/main"}, ahead));
  EXPECT_NE(session.git("r", {"rev-parse", "HEAD"}), ahead);
  EXPECT_TRUE(host().choose({file}, {"Pull", "origin", "main"}));
  EXPECT_TRUE(gitSays("r", {"rev-parse", "HEAD"}, ahead));

  session.append("r/file.txt", "here");
  session.git("r", {"commit", "-q", "-a", "-m", "Here"});
  EXPECT_TRUE(host().choose({file}, {"Push", "main"}));
  EXPECT_TRUE(gitSays("origin.git", {"log", "-1", "--format=%s", "main"}, "Here"));
}

TEST_F(RepositoryItems, AStashIsAppliedByItsPlaceInTheList) {
  for (const char* name : {"first", "second"}) {
    session.append("r/file.txt", name);
    session.git("r", {"stash", "push", "-q", "-m", name});
  }
  start();
  EXPECT_TRUE(host().choose({file}, {"More", "Apply Stash", "On main: first"}));
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge"));
  EXPECT_EQ(session.read("r/file.txt"), "as committed\nfirst\n");
}

TEST_F(RepositoryItems, ATagIsDeletedWhenTheUserAgrees) {
  session.addUser(kSaysYes);
  session.git("r", {"tag", "v1"});
  session.git("r", {"tag", "v2"});
  start();
  EXPECT_TRUE(host().choose({file}, {"More", "Delete Tag", "v1"}));
  EXPECT_TRUE(gitSays("r", {"tag"}, "v2"));
  EXPECT_NE(asked().find("Delete the tag \"v1\"?"), std::string::npos) << asked();
}

TEST_F(RepositoryItems, AllChangesAreDiscardedWhenTheUserAgrees) {
  session.addUser(kSaysYes);
  session.append("r/file.txt", "changed");
  session.append("r/new.txt", "new");
  startWith(repository, file, "KPWorkdirModifiedBadge");
  EXPECT_TRUE(host().choose({file}, {"More", "Discard All Changes…"}));
  EXPECT_TRUE(host().sees(file, "KPCurrentBadge"));
  EXPECT_TRUE(gitSays("r", {"status", "--porcelain"}, ""));
}

TEST_F(RepositoryItems, AFeatureOfGitflowIsFinished) {
  session.git("r", {"config", "gitflow.branch.master", "main"});
  session.git("r", {"config", "gitflow.branch.develop", "develop"});
  session.git("r", {"branch", "develop"});
  session.git("r", {"checkout", "-q", "-b", "feature/x"});
  session.append("r/file.txt", "feature");
  session.git("r", {"commit", "-q", "-a", "-m", "Feature"});
  start();
  EXPECT_TRUE(host().choose({file}, {"More", "Finish Git-Flow Feature", "feature/x"}));
  EXPECT_TRUE(gitSays("r", {"branch", "--list", "feature/x"}, ""));
  EXPECT_EQ(session.git("r", {"branch", "--show-current"}), "develop");
  EXPECT_EQ(session.read("r/file.txt"), "as committed\nfeature\n");
}

TEST_F(RepositoryItems, AWindowOpensInTheProgramForIt) {
  session.addUser(kSaysYes);
  session.addProgram("gitk", "echo \"$PWD $*\" >>\"$HOME/asked\"\n");
  start();
  EXPECT_TRUE(host().choose({file}, {"Browser…"}));
  EXPECT_TRUE(becomes<std::string>([&] { return asked(); }, repository + " --all\n"));
}

TEST_F(RepositoryItems, AFolderWithoutARepositoryGetsOne) {
  const std::string folder = session.home().addFolder("plain/inner");
  ProgramsFixture::start({session.home() / "plain"});
  host().show(session.home() / "plain");
  EXPECT_TRUE(host().choose({folder}, {"Create…"}));
  EXPECT_TRUE(becomes<bool>([&] { return fs::exists(folder + "/.git/HEAD"); }, true));
}

// git's own words reach the log, and everything goes on.
TEST_F(RepositoryItems, AFailureIsToldInGitsWords) {
  addOriginThatIsAhead();
  start();
  EXPECT_FALSE(host().waitForItem({file}, {"Fetch…", "origin"}).is_null());
  fs::remove_all(session.home() / "origin.git");
  EXPECT_TRUE(host().choose({file}, {"Fetch…", "origin"}));
  EXPECT_TRUE(GitSession::hasLogged(*agent, "Action fetch: failed: fatal: "));
  session.append("r/file.txt", "changed");
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge"));
}

// -- Application items ----------------------------------------------------------------------------

class ApplicationItems : public RepositoryItems {
 protected:
  ApplicationItems() {
    const Dictionary items{
        {kRootMenuItemsKey, Dictionary{{kAppMenuItemsKey, Objects{1000, 1001, 1002, 1005}}}}};
    EXPECT_EQ(session.sharedDefaults().update([&](Dictionary& values) {
      values.set(kContextualMenuItemsKey, Object(items));
      return true;
    }),
              std::nullopt);
  }
};

TEST_F(ApplicationItems, AboutTellsTheVersion) {
  session.addUser(kSaysYes);
  start();
  EXPECT_TRUE(host().choose({file}, {"About Kelpie"}));
  EXPECT_TRUE(becomes<bool>([&] { return asked().find("--info") != std::string::npos; }, true));
}

TEST_F(ApplicationItems, QuitEndsTheAgentAndClearsTheBadges) {
  start();
  EXPECT_TRUE(host().choose({file}, {"Quit"}));
  EXPECT_EQ(agent->waitForEnd(), 0);
  EXPECT_TRUE(host().sees(file, "KPEmptyBadge"));
}

}  // namespace
}  // namespace kelpie
