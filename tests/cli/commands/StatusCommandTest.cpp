#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli/CommandTest.h"

namespace kelpie::cli {
namespace {

using StatusCommandTest = CommandTest;
using nlohmann::json;

TEST_F(StatusCommandTest, AFolderIsShownWithWhatItHolds) {
  home.addFile("files/a.txt");
  home.addFile("files/new.txt");
  home.addFolder("files/sub");
  extension.badges = {{"file://" + files + "/", "KPWorkdirModifiedBadge"},
                      {url("a.txt"), "KPIndexModifiedBadge"},
                      {url("new.txt"), "KPWorkdirNewBadge"},
                      {url("sub/"), "KPEmptyBadge"}};
  startExtension();
  const Result result = run({"status"});
  EXPECT_EQ(result.out, "± modified              " + files +
                            "/\n"
                            "  ⊙ modified, staged      a.txt\n"
                            "  ? untracked             new.txt\n"
                            "    no badge              sub/\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST_F(StatusCommandTest, TheFolderIsShownToTheExtensionAndLeft) {
  home.addFile("files/a.txt");
  extension.badges = {{"file://" + files + "/", "KPCurrentBadge"},
                      {url("a.txt"), "KPCurrentBadge"}};
  startExtension();
  run({"status", path("a.txt"), files});
  ASSERT_TRUE(extension.waitFor("endObserving"));
  std::vector<std::string> types;
  for (const json& message : extension.heard()) types.push_back(message["type"]);
  EXPECT_EQ(types,
            (std::vector<std::string>{"hello", "beginObserving", "requestBadges", "endObserving"}));
  EXPECT_EQ(extension.heard("beginObserving")[0]["url"], "file://" + files + "/");
  EXPECT_EQ(extension.heard("requestBadges")[0]["urls"],
            json::array({url("a.txt"), "file://" + files + "/"}))
      << "an item that is met twice is asked about once";
}

TEST_F(StatusCommandTest, AnItemIsShownAlone) {
  home.addFile("files/a.txt");
  home.addFile("files/b.txt");
  extension.badges = {{url("a.txt"), "KPConflictedBadge"}};
  startExtension();
  EXPECT_EQ(run({"status", "a.txt"}).out, "▲ conflicted            " + path("a.txt") + "\n");
}

TEST_F(StatusCommandTest, AnItemWithoutAnAnswerIsShownAfterTheWait) {
  home.addFile("files/a.txt");
  startExtension();
  const Result result = run({"status", "--wait=50", "a.txt"});
  EXPECT_EQ(result.out, "  no badge              " + path("a.txt") + "\n");
  EXPECT_TRUE(result.err.starts_with("kelpie: no badge came: ")) << result.err;
  EXPECT_EQ(result.status, 0);
}

// A working copy opens after its items were asked about.
TEST_F(StatusCommandTest, ItemsWithoutAnAnswerAreAskedAboutAgain) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPIgnoredBadge"}};
  extension.passesOver = 2;
  startExtension();
  EXPECT_EQ(run({"status", "--wait=30000", "a.txt"}).out,
            "⊘ ignored               " + path("a.txt") + "\n");
  EXPECT_EQ(extension.heard("requestBadges").size(), 3U);
}

TEST_F(StatusCommandTest, TheLastOfSeveralBadgesCounts) {
  home.addFile("files/a.txt");
  startExtension();
  const auto process = start({"status", "--wait=30000", "a.txt"});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  extension.sayBadge(url("a.txt"), "KPCurrentBadge");
  extension.sayBadge(url("a.txt"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(process->waitForEnd(), 0);
  EXPECT_EQ(process->output(), "± modified              " + path("a.txt") + "\n");
}

TEST_F(StatusCommandTest, PathsThatCannotBeShownAreNamedAndTheOthersShown) {
  home.addFile("files/a.txt");
  home.addFile("elsewhere/b.txt");
  extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
  startExtension();
  const Result result = run({"status", "gone", home / "elsewhere/b.txt", "a.txt"});
  EXPECT_EQ(result.out, "✓ unchanged             " + path("a.txt") + "\n");
  EXPECT_EQ(result.err,
            "kelpie: gone: nothing is there\n"
            "kelpie: " +
                home / "elsewhere/b.txt" + ": lies in no observed folder; see: kelpie folders\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(StatusCommandTest, JsonHasPathsUrlsAndBadges) {
  home.addFile("files/a b.txt");
  extension.badges = {{url("a%20b.txt"), "KPWorkdirNewBadge"}};
  startExtension();
  const json list = json::parse(run({"status", "--json", "--wait", "50", "."}).out);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0]["path"], files);
  EXPECT_EQ(list[0]["badge"], nullptr);
  EXPECT_EQ(list[0]["folder"], true);
  const json item = list[0]["items"][0];
  EXPECT_EQ(item["path"], path("a b.txt"));
  EXPECT_EQ(item["url"], url("a%20b.txt"));
  EXPECT_EQ(item["badge"], "KPWorkdirNewBadge");
  EXPECT_EQ(item["label"], "untracked");
}

TEST_F(StatusCommandTest, NamesCannotSteerTheTerminal) {
  home.addFile("files/a\033[31m\nb");
  startExtension();
  const std::string out = run({"status", "--wait=50"}).out;
  EXPECT_NE(out.find("a\\x1b[31m\\x0ab\n"), std::string::npos) << out;
  EXPECT_EQ(out.find('\033'), std::string::npos);
}

TEST_F(StatusCommandTest, ColoursAreUsedWhenAsked) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
  startExtension();
  EXPECT_EQ(run({"status", "--color=always", "a.txt"}).out,
            "\033[32m✓ unchanged\033[0m             " + path("a.txt") + "\n");
  EXPECT_EQ(run({"status", "a.txt"}).out.find('\033'), std::string::npos)
      << "standard output is no terminal";
}

TEST_F(StatusCommandTest, GlyphsAreAsciiWhereTheLocaleIsNotUtf8) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPIndexNewBadge"}};
  environment["LC_ALL"] = "C";
  startExtension();
  EXPECT_EQ(run({"status", "a.txt"}).out, "A new, staged           " + path("a.txt") + "\n");
}

TEST_F(StatusCommandTest, WithoutAnExtensionItSaysHowToStartIt) {
  const Result result = run({"status"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(
      result.err.starts_with("kelpie: the extension is not running, and there is no "
                             "session bus to start it ("))
      << result.err;
  EXPECT_TRUE(result.err.ends_with("; start it with: kelpie-sync\n")) << result.err;
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
}

TEST_F(StatusCommandTest, AnExtensionThatEndsIsNoticed) {
  home.addFile("files/a.txt");
  startExtension();
  const auto process = start({"status", "--wait=30000", "a.txt"});
  ASSERT_TRUE(extension.waitFor("requestBadges"));
  extension.stop();
  EXPECT_EQ(process->waitForEnd(), 1);
  EXPECT_EQ(process->errors(), "kelpie: the extension has ended; some badges may be missing\n");
}

TEST_F(StatusCommandTest, AnotherVersionOfTheProtocolIsRefused) {
  extension.welcome["version"] = 2;
  startExtension();
  const Result result = run({"status"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: the extension speaks another version of the protocol\n");
}

TEST_F(StatusCommandTest, NoiseFromTheExtensionIsPassedOver) {
  home.addFile("files/a.txt");
  extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
  extension.noise =
      "no json\n\n[1,2]\n" + std::string(100'000, '[') +
      "\n{\"type\":7}\n{\"type\":\"badges\",\"badges\":7}\n"
      "{\"type\":\"badges\",\"badges\":[7,[1],[\"x\",\"y\"],[\"http://a/b\",\"c\"]]}\n"
      "{\"type\":\"directories\",\"urls\":{}}\n"
      "{\"type\":\"directories\",\"urls\":[\"file://" +
      files + "\"]}\n\xff\xfe\n";
  startExtension();
  const Result result = run({"status", "a.txt"});
  EXPECT_EQ(result.out, "✓ unchanged             " + path("a.txt") + "\n");
  EXPECT_EQ(result.err, "kelpie: the extension sent lines that are no messages; dropped: 4\n");
  EXPECT_EQ(result.status, 0);
}

}  // namespace
}  // namespace kelpie::cli
