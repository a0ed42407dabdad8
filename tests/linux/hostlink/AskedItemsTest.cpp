#include "linux/hostlink/AskedItems.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace kelpie {
namespace {

URL item(const std::string& path) { return URL::fileURLWithPath(path); }

// The spelling in which the host is told of an item; absent when it is not remembered, since the
// folder is not shown.
std::optional<std::string> spelling(AskedItems& items, const std::string& path) {
  static int number = 0;
  const URL url = item(path);
  const auto told = items.spellingToTell(url, "new badge " + std::to_string(++number));
  return told ? std::optional(std::string(*told)) : std::nullopt;
}

TEST(AskedItems, RemembersTheSpellingOfWhatWasAsked) {
  AskedItems items;
  items.ask(*URL::fromString("file:///r/a%20b"));
  EXPECT_EQ(spelling(items, "/r/a b"), "file:///r/a%20b");
  EXPECT_EQ(spelling(items, "/r/other"), std::nullopt);
}

TEST(AskedItems, TheLastSpellingCounts) {
  AskedItems items;
  items.ask(*URL::fromString("file:///r/-"));
  items.ask(*URL::fromString("file:///r/%2D"));
  EXPECT_EQ(spelling(items, "/r/-"), "file:///r/%2D");
}

TEST(AskedItems, ItemsAreForgottenWhenTheirFolderIsNoLongerShown) {
  AskedItems items;
  items.show(URL::fileURLWithPath("/r"));
  items.ask(*URL::fromString("file:///r/a"));
  items.ask(*URL::fromString("file:///r/sub/b"));
  EXPECT_TRUE(items.hide("/r"));
  EXPECT_EQ(spelling(items, "/r/a"), std::nullopt);
  EXPECT_NE(spelling(items, "/r/sub/b"), std::nullopt) << "its folder was never shown";
}

TEST(AskedItems, ItemsAskedForBeforeTheirFolderWasShownGoWithIt) {
  AskedItems items;
  items.ask(*URL::fromString("file:///r/a"));
  items.show(URL::fileURLWithPath("/r"));
  items.hide("/r");
  EXPECT_EQ(spelling(items, "/r/a"), std::nullopt);
}

TEST(AskedItems, AFolderShownTwiceIsHiddenTwice) {
  AskedItems items;
  EXPECT_TRUE(items.show(URL::fileURLWithPath("/r")));
  EXPECT_FALSE(items.show(URL::fileURLWithPath("/r")));
  EXPECT_FALSE(items.hide("/r"));
  EXPECT_TRUE(items.shows("/r"));
  EXPECT_TRUE(items.hide("/r"));
  EXPECT_FALSE(items.shows("/r"));
  EXPECT_FALSE(items.hide("/r")) << "it is not shown any more";
}

TEST(AskedItems, OfFoldersThatAreNotShownTheOldestIsForgottenFirst) {
  AskedItems items(3);
  for (const std::string name : {"1", "2", "3", "4"}) items.ask(item("/r/" + name));
  EXPECT_EQ(spelling(items, "/r/1"), std::nullopt);
  for (const std::string name : {"2", "3", "4"})
    EXPECT_EQ(spelling(items, "/r/" + name), "file:///r/" + name);
}

TEST(AskedItems, AskingAgainMakesAnItemTheNewest) {
  AskedItems items(2);
  items.ask(item("/r/1"));
  items.ask(item("/r/2"));
  items.ask(item("/r/1"));
  items.ask(item("/r/3"));
  EXPECT_EQ(spelling(items, "/r/2"), std::nullopt);
  EXPECT_EQ(spelling(items, "/r/1"), "file:///r/1");
}

TEST(AskedItems, ItemsOfShownFoldersDoNotCount) {
  AskedItems items(2);
  items.show(URL::fileURLWithPath("/shown"));
  items.ask(*URL::fromString("file:///shown/%2D"));
  for (int i = 0; i < 10; ++i) items.ask(item("/shown/" + std::to_string(i)));
  items.ask(item("/r/1"));
  items.ask(item("/r/2"));
  EXPECT_EQ(spelling(items, "/shown/-"), "file:///shown/%2D") << "forgotten, it has no spelling";
  EXPECT_EQ(spelling(items, "/r/1"), "file:///r/1");
  EXPECT_EQ(spelling(items, "/r/2"), "file:///r/2");
}

TEST(AskedItems, AnItemAskedForOverAndOverStaysTheOnlyOne) {
  AskedItems items(2);
  items.ask(item("/r/kept"));
  for (int i = 0; i < 1000; ++i) items.ask(item("/r/again"));
  EXPECT_EQ(spelling(items, "/r/kept"), "file:///r/kept");
  EXPECT_EQ(spelling(items, "/r/again"), "file:///r/again");
}

TEST(AskedItems, ABadgeIsToldOnceUntilTheHostAsksAgain) {
  AskedItems items;
  const URL file = item("/r/f");
  items.ask(file);
  EXPECT_TRUE(items.spellingToTell(file, "KPCurrentBadge"));
  EXPECT_FALSE(items.spellingToTell(file, "KPCurrentBadge"));
  EXPECT_TRUE(items.spellingToTell(file, "KPIgnoredBadge"));
  EXPECT_TRUE(items.spellingToTell(file, "KPCurrentBadge"));
  items.ask(file);
  EXPECT_TRUE(items.spellingToTell(file, "KPCurrentBadge")) << "it waits for an answer";
  EXPECT_FALSE(items.spellingToTell(file, "KPCurrentBadge"));
}

TEST(AskedItems, OfWhatWasNotAskedForAllIsToldThatLiesInAShownFolder) {
  AskedItems items;
  const URL file = item("/r/f");
  EXPECT_FALSE(items.spellingToTell(file, "KPCurrentBadge"));
  items.show(item("/r"));
  EXPECT_EQ(items.spellingToTell(file, "KPCurrentBadge"), "file:///r/f");
  EXPECT_EQ(items.spellingToTell(file, "KPCurrentBadge"), "file:///r/f");
  EXPECT_FALSE(items.spellingToTell(item("/r/sub/f"), "KPCurrentBadge"));
  items.ask(file);
  items.hide("/r");
  EXPECT_FALSE(items.spellingToTell(file, "KPCurrentBadge"));
}

TEST(AskedItems, TheRootIsAFolderWithItems) {
  AskedItems items;
  items.show(item("/"));
  EXPECT_EQ(items.spellingToTell(item("/a"), "KPCurrentBadge"), "file:///a");
  EXPECT_FALSE(items.spellingToTell(item("/"), "KPCurrentBadge")) << "it lies in no folder";
}

}  // namespace
}  // namespace kelpie
