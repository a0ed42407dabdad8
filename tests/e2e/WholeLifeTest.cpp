#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

using nlohmann::json;

constexpr int kItems = 0;
constexpr int kToolbar = 3;

// From the start of the programs to their end, with the repository in which everything occurs.
class WholeLife : public ProgramsFixture {
 protected:
  void showsEveryBadge() {
    host().show(sample);
    EXPECT_TRUE(host().sees(readme, "KPWorkdirModifiedBadge"));
    for (const char* folder : {"src", "docs", "build", "Presentation.key", "library"})
      host().show(sample + "/" + folder);
    host().ask({placeholderOf(sample + "/src/deleted.c")});
    const std::map<std::string, std::string> badges = {
        {"src/main.c", "KPCurrentBadge"},
        {"src/staged.c", "KPIndexModifiedBadge"},
        {"src/added.c", "KPIndexNewBadge"},
        {"src/both.c", "KPWorkdirModifiedBadge"},
        {"src/conflict.c", "KPConflictedBadge"},
        {placeholderOf("src/deleted.c"), "KPWorkdirDeletedBadge"},
        {"docs/handbook.md", "KPIndexRenamedBadge"},
        {"notes.txt", "KPWorkdirNewBadge"},
        {"debug.log", "KPIgnoredBadge"},
        {"build", "KPIgnoredBadge"},
        {"build/main.o", "KPIgnoredBadge"},
        {".gitignore", "KPCurrentBadge"},
        {".git", "KPEmptyBadge"},
        // Folders, whatever their names, and a submodule show what is in them.
        {"src", "KPConflictedBadge"},
        {"docs", "KPIndexModifiedBadge"},
        {"Presentation.key", "KPWorkdirModifiedBadge"},
        {"library", "KPWorkdirModifiedBadge"},
        {"library/answer.c", "KPWorkdirModifiedBadge"},
    };
    for (const auto& [item, badge] : badges) EXPECT_TRUE(host().sees(sample + "/" + item, badge));
    EXPECT_TRUE(host().sees(sample, "KPConflictedBadge"));
  }

  void followsTheDisk() {
    session.append("sample/src/main.c", "changed");
    EXPECT_TRUE(host().sees(sample + "/src/main.c", "KPWorkdirModifiedBadge"));
    session.git("sample", {"checkout", "-q", "src/main.c"});
    EXPECT_TRUE(host().sees(sample + "/src/main.c", "KPCurrentBadge"));
  }

  void stagesFromTheMenu() {
    EXPECT_TRUE(host().choose({readme}, {"Stage \"README.md\""}));
    EXPECT_TRUE(host().sees(readme, "KPIndexModifiedBadge"));
    EXPECT_EQ(session.git("sample", {"diff", "--name-only", "--cached", "--", "README.md"}),
              "README.md");
  }

  void losesTheAgent() {
    agent->signal(SIGTERM);
    EXPECT_EQ(agent->waitForEnd(), 0);
    EXPECT_EQ(agent->errors(), "");
    for (const char* item : {"README.md", "src", "src/main.c", "build/main.o", "notes.txt"})
      EXPECT_TRUE(host().sees(sample + "/" + item, "KPEmptyBadge"));
    const json menu = host().menu(kToolbar, {fileURL(readme)});
    ASSERT_EQ(menu.at("items").size(), 1U);
    EXPECT_EQ(menu.at("items").at(0).at("title"), "Kelpie is not running");
    EXPECT_EQ(menu.at("items").at(0).at("enabled"), false);
    EXPECT_EQ(host().menu(kItems, {fileURL(readme)}), json());
  }

  void hasTheAgentAgain() {
    agent = session.startAgent();
    EXPECT_TRUE(host().sees(readme, "KPIndexModifiedBadge"));
    EXPECT_TRUE(host().sees(sample + "/notes.txt", "KPWorkdirNewBadge"));
    // Of every folder that is shown, whatever its name.
    EXPECT_TRUE(host().sees(sample + "/Presentation.key/slides", "KPWorkdirModifiedBadge"));
    host().ask({sample + "/src/staged.c"});
    EXPECT_TRUE(host().sees(sample + "/src/staged.c", "KPIndexModifiedBadge"));
    // The references were not asked for again; a menu does that.
    EXPECT_EQ(host().menu(kItems, {fileURL(readme)}).dump().find("v1.0"), std::string::npos);
    EXPECT_FALSE(host().waitForItem({readme}, {"More", "Delete Tag", "v1.0"}).is_null());
  }

  void ends() {
    // The agent first: it says so when an extension that it has news for is gone.
    for (ChildProcess* program : {agent.get(), sync.get()}) {
      program->signal(SIGTERM);
      EXPECT_EQ(program->waitForEnd(), 0);
      EXPECT_EQ(program->errors(), "");
    }
    EXPECT_EQ(session.sockets(), std::vector<std::string>());
  }

  const std::string sample = session.addSample("sample");
  const std::string readme = sample + "/README.md";
};

TEST_F(WholeLife, FromTheStartToTheEnd) {
  start({sample});
  showsEveryBadge();
  followsTheDisk();
  stagesFromTheMenu();
  losesTheAgent();
  hasTheAgentAgain();
  ends();
}

TEST_F(WholeLife, TheOrderOfTheStartDoesNotMatter) {
  session.observe({sample});
  startSync();
  host().show(sample);
  EXPECT_EQ(host().menu(kItems, {fileURL(readme)}), json());
  agent = session.startAgent();
  EXPECT_TRUE(host().sees(readme, "KPWorkdirModifiedBadge"));
  ends();
}

// Nobody has said which folders to observe.
TEST_F(WholeLife, AtItsFirstStartTheAgentChoosesTheHomeFolder) {
  agent = session.startAgent();
  startSync();
  host().show(sample);
  EXPECT_TRUE(host().sees(readme, "KPWorkdirModifiedBadge"));
}

}  // namespace
}  // namespace kelpie
