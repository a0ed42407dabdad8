#include <gtest/gtest.h>

#include <csignal>
#include <initializer_list>
#include <sstream>
#include <string>

#include "cli/CommandTest.h"

namespace kelpie::cli {
namespace {

class WatchCommandTest : public CommandTest {
 protected:
  void tell(const std::string& name, const std::string& badge) {
    extension.sayBadge(url(name), badge);
  }
  // The lines that the program has printed, without the time of day in front.
  static std::string lines(ChildProcess& process) {
    std::istringstream text(process.output());
    std::string all;
    for (std::string line; std::getline(text, line);) all += line.substr(10) + '\n';
    return all;
  }
  // Waits until that is printed at the end of a line.
  static testing::AssertionResult printed(ChildProcess& process, const std::string& text) {
    if (process.waitForOutput("  " + text + '\n')) return testing::AssertionSuccess();
    return testing::AssertionFailure() << process.output() << process.errors();
  }
};

TEST_F(WatchCommandTest, BadgesArePrintedAsTheyChange) {
  home.addFile("files/a.txt");
  startExtension();
  const auto process = start({"watch", "."});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  tell("a.txt", "KPCurrentBadge");
  tell("a.txt", "KPCurrentBadge");
  tell("a.txt", "KPWorkdirModifiedBadge");
  tell("a.txt", "KPEmptyBadge");
  EXPECT_TRUE(printed(*process, "  no badge              " + path("a.txt")));
  EXPECT_EQ(lines(*process), "✓ unchanged             " + path("a.txt") +
                                 "\n"
                                 "± modified              " +
                                 path("a.txt") +
                                 "\n"
                                 "  no badge              " +
                                 path("a.txt") + "\n")
      << "a badge that is set again is no change";
  EXPECT_EQ(process->output().find_first_not_of("0123456789:"), 8U) << "a time stands in front";
  process->signal(SIGINT);
  EXPECT_EQ(process->waitForEnd(), 0);
}

// Each badge is a line of its own, also where the program reads several of the extension's lines
// with one look.
TEST_F(WatchCommandTest, ChangesThatArriveTogetherAreAllPrinted) {
  home.addFile("files/a.txt");
  const auto line = [this](std::initializer_list<std::string> badges) {
    FakeExtension::Json list = FakeExtension::Json::array();
    for (const std::string& badge : badges)
      list.push_back(FakeExtension::Json::array({url("a.txt"), badge}));
    return FakeExtension::Json({{"type", "badges"}, {"badges", list}}).dump() + '\n';
  };
  // The answer comes with more lines in the same piece.
  extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
  extension.afterBadges = line({"KPWorkdirModifiedBadge"}) + line({"KPCurrentBadge"}) +
                          line({"KPIndexModifiedBadge", "KPConflictedBadge"});
  startExtension();
  const auto process = start({"watch", "a.txt"});
  EXPECT_TRUE(printed(*process, "▲ conflicted            " + path("a.txt")));
  EXPECT_EQ(lines(*process), "✓ unchanged             " + path("a.txt") +
                                 "\n"
                                 "± modified              " +
                                 path("a.txt") +
                                 "\n"
                                 "✓ unchanged             " +
                                 path("a.txt") +
                                 "\n"
                                 "▲ conflicted            " +
                                 path("a.txt") + "\n")
      << "but of those that are set at once, which nobody can have seen, the last";
  process->signal(SIGINT);
  EXPECT_EQ(process->waitForEnd(), 0);
}

TEST_F(WatchCommandTest, AnItemThatIsNewInTheFolderIsWatchedToo) {
  extension.badges = {{url("new.txt"), "KPWorkdirNewBadge"}};
  startExtension();
  const auto process = start({"watch", files});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  home.addFile("files/new.txt");
  EXPECT_TRUE(printed(*process, "? untracked             " + path("new.txt")));
  process->signal(SIGTERM);
  EXPECT_EQ(process->waitForEnd(), 0);
}

TEST_F(WatchCommandTest, ItemsWithoutABadgeAreAskedAboutAgain) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPWorkdirNewBadge"}};
  extension.passesOver = 1;
  startExtension();
  const auto process = start({"watch", "a.txt"});
  EXPECT_TRUE(printed(*process, "? untracked             " + path("a.txt")));
  process->signal(SIGINT);
  EXPECT_EQ(process->waitForEnd(), 0);
}

TEST_F(WatchCommandTest, ItComesBackWithTheExtension) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
  startExtension();
  const auto process = start({"watch", "a.txt"});
  EXPECT_TRUE(printed(*process, "✓ unchanged             " + path("a.txt")));
  extension.stop();
  EXPECT_TRUE(process->waitForErrors("until it is back\n"));
  extension.badges = {{url("a.txt"), "KPIgnoredBadge"}};
  startExtension();
  EXPECT_TRUE(printed(*process, "⊘ ignored               " + path("a.txt")));
  EXPECT_EQ(process->errors(),
            "kelpie: the extension has ended; waiting until it is back\n"
            "kelpie: the extension is back\n");
  process->signal(SIGINT);
  EXPECT_EQ(process->waitForEnd(), 0);
}

TEST_F(WatchCommandTest, ItCanBeInterruptedWhileTheExtensionIsAway) {
  startExtension();
  const auto process = start({"watch", files});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  extension.stop();
  EXPECT_TRUE(process->waitForErrors("until it is back\n"));
  process->signal(SIGINT);
  EXPECT_EQ(process->waitForEnd(), 0);
}

TEST_F(WatchCommandTest, WhatIsNotObservedIsRefused) {
  home.addFile("elsewhere/b.txt");
  startExtension();
  EXPECT_EQ(run({"watch", "gone"}).err, "kelpie: gone: nothing is there\n");
  const Result result = run({"watch", home / "elsewhere"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("lies in no observed folder"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace kelpie::cli
