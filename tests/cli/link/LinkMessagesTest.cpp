#include "cli/link/LinkMessages.h"

#include <gtest/gtest.h>

namespace kelpie::cli::link {
namespace {

TEST(LinkMessages, AWelcomeOfAnyShapeIsRead) {
  const LinkWelcome good =
      welcome({{"version", 1},
               {"badges", {{"KPCurrentBadge", {{"image", "/i"}, {"label", "fine"}}}, {"other", 7}}},
               {"directories", {"file:///a/", 7, "http://x/", "file:///b%20c"}}});
  EXPECT_EQ(good.version, 1);
  EXPECT_EQ(good.directories, (std::vector<std::string>{"/a", "/b c"}));
  const LinkWelcome bad = welcome({{"version", "1"}, {"badges", 7}, {"directories", nullptr}});
  EXPECT_EQ(bad.version, 0);
  EXPECT_TRUE(bad.directories.empty());
}

TEST(LinkMessages, BadgesThatAreNoneAreLeftOut) {
  const auto list = badges({{"badges",
                             {{"file:///a", "X"},
                              {"file:///a"},
                              {7, "X"},
                              {"file:///b", nullptr},
                              {"file:///c", "Y", "Z"},
                              "text",
                              {"file:///d/", ""}}}});
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0], (std::pair<std::string, std::string>{"/a", "X"}));
  EXPECT_EQ(list[1], (std::pair<std::string, std::string>{"/d", ""}));
}

TEST(LinkMessages, ItemsKeepTheirPlacesWhateverTheyHold) {
  const auto items = menu({{"menu",
                            {{"items",
                              {7,
                               {{"title", 7}, {"enabled", 1}, {"state", "on"}},
                               {{"title", "x"},
                                {"action", "a:"},
                                {"tag", -3},
                                {"state", 1},
                                {"enabled", true},
                                {"submenu", {{"items", {{{"title", "y"}}}}}}}}}}}});
  ASSERT_TRUE(items);
  ASSERT_EQ(items->size(), 3U);
  EXPECT_FALSE((*items)[1].isEnabled);
  EXPECT_FALSE((*items)[1].isTicked);
  const LinkMenuItem& last = (*items)[2];
  EXPECT_EQ(last.title, "x");
  EXPECT_EQ(last.action, "a:");
  EXPECT_EQ(last.tag, -3);
  EXPECT_TRUE(last.isTicked);
  EXPECT_TRUE(last.isEnabled);
  ASSERT_TRUE(last.hasSubmenu);
  EXPECT_EQ(last.submenu[0].title, "y");
  EXPECT_FALSE(menu({{"menu", nullptr}}));
  EXPECT_FALSE(menu(Json::object()));
}

}  // namespace
}  // namespace kelpie::cli::link
