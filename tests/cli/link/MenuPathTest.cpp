#include "cli/link/MenuPath.h"

#include <gtest/gtest.h>

#include <utility>

#include "cli/text/TitleFit.h"

namespace kelpie::cli {
namespace {

hostlink::Item entry(const std::string& title) {
  hostlink::Item item;
  item.title = title;
  item.action = "act:";
  item.isEnabled = true;
  return item;
}

hostlink::Item submenuEntry(const std::string& title, std::vector<hostlink::Item> items) {
  hostlink::Item item;
  item.title = title;
  item.isEnabled = true;
  item.hasSubmenu = true;
  item.submenu = std::move(items);
  return item;
}

hostlink::Item headerEntry(const std::string& title) {
  hostlink::Item item;
  item.title = title;
  item.image = "ApplicationIcon";
  return item;
}

// The paths of what the text means, one after the other.
std::string found(std::string_view text, const std::vector<hostlink::Item>& menu) {
  std::string paths;
  for (const MenuPath::Match& match : MenuPath(text).find(menu)) paths += '[' + match.path + ']';
  return paths;
}

TEST(MenuPath, TheBestFitWins) {
  const std::vector<hostlink::Item> menu = {headerEntry("Git"),  entry("Stage"),
                                            entry("Stage All…"), entry("stage"),
                                            entry("Push…"),      entry("Git Configuration")};
  EXPECT_EQ(found("Stage", menu), "[Stage]");
  EXPECT_EQ(found("STAGE", menu), "[Stage][stage]");
  EXPECT_EQ(found("stage a", menu), "[Stage All…]");
  EXPECT_EQ(found("Sta", menu), "[Stage][Stage All…][stage]");
  EXPECT_EQ(found("push", menu), "[Push…]");
  EXPECT_EQ(found("Push...", menu), "[Push…]");
  EXPECT_EQ(found("Git", menu), "[Git Configuration]") << "a header is no item";
  EXPECT_EQ(found("", menu), "");
  EXPECT_EQ(found("…", menu), "");
}

TEST(MenuPath, TitlesLeadThroughSubmenus) {
  const std::vector<hostlink::Item> menu = {
      submenuEntry("More", {entry("Ignore")}), entry("Pull"),
      submenuEntry("More", {entry("Revert"), submenuEntry("a/b", {entry("c\\d")})})};
  EXPECT_EQ(found("More/Revert", menu), "[More/Revert]");
  EXPECT_EQ(found("m/i", menu), "[More/Ignore]");
  EXPECT_EQ(found("More/a\\/b/c\\\\d", menu), "[More/a\\/b/c\\\\d]");
  EXPECT_EQ(found("More/a/b", menu), "");
  EXPECT_EQ(found("Pull/x", menu), "");
  EXPECT_EQ(found("Ignore", menu), "") << "a path begins at the menu itself";
  EXPECT_EQ(found("More/", menu), "");
  EXPECT_EQ(MenuPath("More/Revert").find(menu)[0].indices, (std::vector<std::size_t>{2, 0}));
}

TEST(MenuPath, EveryChoiceIsFoundByItsOwnPath) {
  const std::vector<hostlink::Item> menu = {
      headerEntry("Git"),
      submenuEntry("More", {entry("a/b"), entry("c\\"), submenuEntry("\\/", {entry("…")})}),
      entry("Fetch…")};
  const auto choices = MenuPath::choices(menu);
  ASSERT_EQ(choices.size(), 4U);
  for (const MenuPath::Match& choice : choices)
    EXPECT_EQ(found(choice.path, menu), '[' + choice.path + ']');
}

}  // namespace
}  // namespace kelpie::cli
