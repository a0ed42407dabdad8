#include "common/ShownMenu.h"

#include <gtest/gtest.h>

#include <set>

namespace kelpie::filemanagers {
namespace {

using hostlink::Item;

Item item(std::string title, std::string action = "act:") {
  Item item;
  item.title = std::move(title);
  item.action = std::move(action);
  item.isEnabled = true;
  return item;
}

Item submenu(std::string title, std::vector<Item> items) {
  Item item;
  item.title = std::move(title);
  item.isEnabled = true;
  item.hasSubmenu = true;
  item.submenu = std::move(items);
  return item;
}

std::size_t sizeOf(const ShownMenu& menu) {
  std::size_t size = menu.size();
  for (const ShownItem& item : menu) size += sizeOf(item.submenu);
  return size;
}

void collectNames(const ShownMenu& menu, std::multiset<std::string>& names) {
  for (const ShownItem& item : menu) {
    names.insert(item.name);
    collectNames(item.submenu, names);
  }
}

TEST(ShownMenu, AnItemIsChosenByTheTitlesAboveIt) {
  const std::vector<Item> items = {item("a"), submenu("s", {item("x"), item("x", "other:")})};
  const ShownMenu menu = shownMenu(items, {});
  const ShownItem& second = menu[1].submenu[1];
  EXPECT_EQ(second.action, "other:");
  ASSERT_EQ(second.steps.size(), 2U);
  EXPECT_EQ(HostClient::find(items, second.steps), (std::vector<std::size_t>{1, 1}));
  EXPECT_EQ(HostClient::find(items, menu[0].steps), std::vector<std::size_t>{0});
  EXPECT_TRUE(menu[1].steps.empty()) << "an item with a submenu stands for nothing";
}

TEST(ShownMenu, NamesTellItemsApartAndStayTheSame) {
  const std::vector<Item> items = {item("x"), item("x"), submenu("x", {item("x")}),
                                   submenu("ab", {item("c")}), submenu("a", {item("bc")})};
  std::multiset<std::string> names;
  collectNames(shownMenu(items, {}), names);
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 8U);
  for (const std::string& name : names)
    EXPECT_EQ(name.find_first_not_of("Kelpi-0123456789abcdef"), std::string::npos) << name;
  // Another item in front of them changes no name.
  std::vector<Item> later = items;
  later.insert(later.begin(), item("new"));
  std::multiset<std::string> laterNames;
  collectNames(shownMenu(later, {}), laterNames);
  for (const std::string& name : names) EXPECT_TRUE(laterNames.contains(name));
}

TEST(ShownMenu, ImagesAreFilesThatTheExtensionHasNamed) {
  std::vector<Item> items = {item("a"), item("b")};
  items[0].image = "BranchImage";
  items[1].image = "NoSuchImage";
  const ShownMenu menu = shownMenu(items, {{"BranchImage", "/images/branch.svg"}});
  EXPECT_EQ(menu[0].image, "/images/branch.svg");
  EXPECT_EQ(menu[1].image, "");
}

TEST(ShownMenu, ALongLevelIsCutAndSaysSo) {
  std::vector<Item> branches(150, item("b"));
  const ShownMenu menu = shownMenu({submenu("Checkout", branches)}, {});
  ASSERT_EQ(menu[0].submenu.size(), 101U);
  const ShownItem& rest = menu[0].submenu.back();
  EXPECT_EQ(rest.title, "… and 50 more");
  EXPECT_FALSE(rest.isEnabled);
  EXPECT_FALSE(rest.action);
}

TEST(ShownMenu, AMenuIsCutDeepDownFirst) {
  const std::vector<Item> leaves(80, item("leaf"));
  const std::vector<Item> top(60, submenu("s", leaves));
  const MenuLimits limits{.itemsOfLevel = 100, .items = 200, .titleBytes = 10};
  const ShownMenu menu = shownMenu(top, {}, limits);
  EXPECT_EQ(menu.size(), 60U);
  EXPECT_EQ(menu[0].submenu.size(), 80U);
  // Each submenu that lacks items has one more that says so.
  EXPECT_LE(sizeOf(menu), limits.items + 60);
}

TEST(ShownMenu, ALongTitleIsCutWhereACharacterBegins) {
  const MenuLimits limits{.itemsOfLevel = 100, .items = 200, .titleBytes = 4};
  const ShownMenu menu = shownMenu({item("abcé"), item("abcdé")}, {}, limits);
  EXPECT_EQ(menu[0].title, "abc…");
  EXPECT_EQ(menu[1].title, "abcd…");
  EXPECT_EQ(menu[0].steps[0].title, "abcé") << "it is chosen by all of its title";
}

TEST(ShownMenu, ALabelBearsTheTickAndNoMnemonic) {
  ShownItem shown;
  shown.title = "my_branch";
  EXPECT_EQ(labelOf(shown), "my__branch");
  shown.isTicked = true;
  EXPECT_EQ(labelOf(shown), "✓ my__branch");
}

TEST(ShownMenu, MenusAreEqualWhenTheyLookAndDoTheSame) {
  const std::vector<Item> items = {item("a"), submenu("s", {item("x")})};
  EXPECT_EQ(shownMenu(items, {}), shownMenu(items, {}));
  std::vector<Item> other = items;
  other[1].submenu[0].isEnabled = false;
  EXPECT_NE(shownMenu(items, {}), shownMenu(other, {}));
}

}  // namespace
}  // namespace kelpie::filemanagers
