#include "linux/hostlink/AskedItems.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(AskedItems, RemembersTheSpellingOfWhatWasAsked) {
  AskedItems items;
  items.ask("/r/a b", "file:///r/a%20b");
  EXPECT_EQ(items.spelling("/r/a b"), "file:///r/a%20b");
  EXPECT_EQ(items.spelling("/r/other"), std::nullopt);
}

TEST(AskedItems, TheLastSpellingCounts) {
  AskedItems items;
  items.ask("/r/-", "file:///r/-");
  items.ask("/r/-", "file:///r/%2D");
  EXPECT_EQ(items.spelling("/r/-"), "file:///r/%2D");
}

TEST(AskedItems, ItemsAreForgottenWhenTheirFolderIsNoLongerShown) {
  AskedItems items;
  items.show(URL::fileURLWithPath("/r"));
  items.ask("/r/a", "file:///r/a");
  items.ask("/r/sub/b", "file:///r/sub/b");
  EXPECT_TRUE(items.hide("/r"));
  EXPECT_EQ(items.spelling("/r/a"), std::nullopt);
  EXPECT_NE(items.spelling("/r/sub/b"), std::nullopt) << "its folder was never shown";
}

TEST(AskedItems, ItemsAskedForBeforeTheirFolderWasShownGoWithIt) {
  AskedItems items;
  items.ask("/r/a", "file:///r/a");
  items.show(URL::fileURLWithPath("/r"));
  items.hide("/r");
  EXPECT_EQ(items.spelling("/r/a"), std::nullopt);
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
  for (const char* name : {"1", "2", "3", "4"}) items.ask(std::string("/r/") + name, name);
  EXPECT_EQ(items.spelling("/r/1"), std::nullopt);
  for (const char* name : {"2", "3", "4"})
    EXPECT_EQ(items.spelling(std::string("/r/") + name), name);
}

TEST(AskedItems, AskingAgainMakesAnItemTheNewest) {
  AskedItems items(2);
  items.ask("/r/1", "1");
  items.ask("/r/2", "2");
  items.ask("/r/1", "1");
  items.ask("/r/3", "3");
  EXPECT_EQ(items.spelling("/r/2"), std::nullopt);
  EXPECT_EQ(items.spelling("/r/1"), "1");
}

TEST(AskedItems, ItemsOfShownFoldersDoNotCount) {
  AskedItems items(2);
  items.show(URL::fileURLWithPath("/shown"));
  for (int i = 0; i < 10; ++i) items.ask("/shown/" + std::to_string(i), "s");
  items.ask("/r/1", "1");
  items.ask("/r/2", "2");
  EXPECT_EQ(items.spelling("/shown/0"), "s");
  EXPECT_EQ(items.spelling("/r/1"), "1");
  EXPECT_EQ(items.spelling("/r/2"), "2");
}

TEST(AskedItems, AnItemAskedForOverAndOverStaysTheOnlyOne) {
  AskedItems items(2);
  items.ask("/r/kept", "kept");
  for (int i = 0; i < 1000; ++i) items.ask("/r/again", "again");
  EXPECT_EQ(items.spelling("/r/kept"), "kept");
  EXPECT_EQ(items.spelling("/r/again"), "again");
}

TEST(AskedItems, ABadgeIsNewsOnceUntilTheHostAsksAgain) {
  AskedItems items;
  items.ask("/r/f", "file:///r/f");
  EXPECT_TRUE(items.isNews("/r/f", "KPCurrentBadge"));
  EXPECT_FALSE(items.isNews("/r/f", "KPCurrentBadge"));
  EXPECT_TRUE(items.isNews("/r/f", "KPIgnoredBadge"));
  EXPECT_TRUE(items.isNews("/r/f", "KPCurrentBadge"));
  items.ask("/r/f", "file:///r/f");
  EXPECT_TRUE(items.isNews("/r/f", "KPCurrentBadge")) << "it waits for an answer";
  EXPECT_FALSE(items.isNews("/r/f", "KPCurrentBadge"));
}

TEST(AskedItems, ABadgeOfAnItemThatIsNotRememberedIsNews) {
  AskedItems items;
  items.show(URL::fileURLWithPath("/r"));
  items.ask("/r/f", "file:///r/f");
  EXPECT_TRUE(items.isNews("/r/f", "KPCurrentBadge"));
  items.hide("/r");
  EXPECT_TRUE(items.isNews("/r/f", "KPCurrentBadge"));
  EXPECT_TRUE(items.isNews("/r/f", "KPCurrentBadge"));
}

TEST(AskedItems, TheFolderOfAPath) {
  EXPECT_EQ(AskedItems::folderOf("/a/b"), "/a");
  EXPECT_EQ(AskedItems::folderOf("/a"), "/");
  EXPECT_EQ(AskedItems::folderOf("/"), "");
}

}  // namespace
}  // namespace kelpie
