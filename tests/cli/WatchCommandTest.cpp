#include <csignal>

#include "CommandTest.h"

namespace kelpie::cli {
namespace {

class WatchCommandTest : public CommandTest {
 protected:
  void tell(const std::string& name, const std::string& badge) {
    extension.sayBadge(url(name), badge);
  }
  // The lines that the program has printed, without the time of day in front.
  static std::string lines(const KelpieProcess& process) {
    std::istringstream text(process.out());
    std::string all;
    for (std::string line; std::getline(text, line);) all += line.substr(10) + '\n';
    return all;
  }
  // Waits until the last line printed is this one.
  static testing::AssertionResult printed(KelpieProcess& process, const std::string& line) {
    if (process.waitUntil([&] { return lines(process).ends_with(line + '\n'); }))
      return testing::AssertionSuccess();
    return testing::AssertionFailure() << process.out() << process.err();
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
  EXPECT_TRUE(printed(*process, "± modified              " + path("a.txt")));
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
  EXPECT_EQ(process->out().find_first_not_of("0123456789:"), 8U) << "a time stands in front";
  process->signal(SIGINT);
  EXPECT_EQ(process->wait(), 0);
}

TEST_F(WatchCommandTest, AnItemThatIsNewInTheFolderIsWatchedToo) {
  extension.badges = {{url("new.txt"), "KPWorkdirNewBadge"}};
  startExtension();
  const auto process = start({"watch", files});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  home.addFile("files/new.txt");
  EXPECT_TRUE(printed(*process, "? untracked             " + path("new.txt")));
  process->signal(SIGTERM);
  EXPECT_EQ(process->wait(), 0);
}

TEST_F(WatchCommandTest, ItComesBackWithTheExtension) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
  startExtension();
  const auto process = start({"watch", "a.txt"});
  EXPECT_TRUE(printed(*process, "✓ unchanged             " + path("a.txt")));
  extension.stop();
  EXPECT_TRUE(process->waitUntil([&] { return process->err().ends_with("until it is back\n"); }));
  extension.badges = {{url("a.txt"), "KPIgnoredBadge"}};
  startExtension();
  EXPECT_TRUE(printed(*process, "⊘ ignored               " + path("a.txt")));
  EXPECT_EQ(process->err(),
            "kelpie: the extension has ended; waiting until it is back\n"
            "kelpie: the extension is back\n");
  process->signal(SIGINT);
  EXPECT_EQ(process->wait(), 0);
}

TEST_F(WatchCommandTest, ItCanBeInterruptedWhileTheExtensionIsAway) {
  startExtension();
  const auto process = start({"watch", files});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  extension.stop();
  EXPECT_TRUE(process->waitUntil([&] { return !process->err().empty(); }));
  process->signal(SIGINT);
  EXPECT_EQ(process->wait(), 0);
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
