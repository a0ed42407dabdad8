#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/CommandTest.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

json item(const std::string& title, json more = json::object()) {
  json item = {{"title", title},  {"action", "act:"}, {"tag", 0},          {"state", 0},
               {"enabled", true}, {"image", nullptr}, {"submenu", nullptr}};
  item.update(more);
  return item;
}

json header(const std::string& title) {
  return item(title, {{"action", nullptr}, {"enabled", false}, {"image", "ApplicationIcon"}});
}

json submenu(const std::string& title, const json& items) {
  return item(title, {{"action", nullptr}, {"submenu", {{"title", title}, {"items", items}}}});
}

class MenuCommandTest : public CommandTest {
 protected:
  MenuCommandTest() {
    home.addFile("files/a.txt");
    extension.badges = {{url("a.txt"), "KPCurrentBadge"}};
    extension.menu = {{"title", ""},
                      {"items",
                       {header("Git Repository"), item("Commit…"),
                        submenu("Checkout", {item("main", {{"state", 1}}), item("feature/x")}),
                        submenu("More", {item("Ignore"), item("Export…")}), header("Git Items"),
                        item("Stage \"a.txt\""), item("Pull", {{"enabled", false}}),
                        submenu("More", {item("Revert"), item("Re\033set")})}}};
  }
};

using DoCommandTest = MenuCommandTest;

TEST_F(MenuCommandTest, TheMenuIsANumberedTree) {
  startExtension();
  const Result result = run({"menu", "a.txt"});
  EXPECT_EQ(result.out,
            "1    Git Repository\n"
            "2    Commit…\n"
            "3    Checkout\n"
            "3.1     ✓ main\n"
            "3.2     feature/x\n"
            "4    More\n"
            "4.1     Ignore\n"
            "4.2     Export…\n"
            "5    Git Items\n"
            "6    Stage \"a.txt\"\n"
            "7    Pull (disabled)\n"
            "8    More\n"
            "8.1     Revert\n"
            "8.2     Re\\x1bset\n");
  EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(MenuCommandTest, TheKindDecidesWhatIsAsked) {
  const std::string folder = "file://" + files + "/";
  extension.badges[folder] = "KPCurrentBadge";
  struct Case {
    std::vector<std::string> words;
    int kind;
    json selected;
  };
  const Case cases[] = {{{"a.txt"}, 0, {url("a.txt")}},
                        {{"--kind=container", "."}, 1, json::array()},
                        {{"--kind=sidebar", "."}, 2, json::array()},
                        {{"--kind=toolbar", "."}, 3, json::array()},
                        {{"--kind", "toolbar", "a.txt"}, 3, {url("a.txt")}}};
  startExtension();
  for (const Case& c : cases) {
    std::vector<std::string> words = c.words;
    words.insert(words.begin(), "menu");
    EXPECT_EQ(run(words).status, 0);
    const json request = extension.heard("menu").back();
    EXPECT_EQ(request["kind"], c.kind);
    EXPECT_EQ(request["selected"], c.selected) << c.kind;
    EXPECT_EQ(request["targeted"], folder) << c.kind;
  }
}

TEST_F(MenuCommandTest, JsonHasTheWholeTree) {
  startExtension();
  const json list = json::parse(run({"menu", "--json", "a.txt"}).out);
  EXPECT_EQ(list[2]["title"], "Checkout");
  EXPECT_EQ(list[2]["items"][0]["ticked"], true);
  EXPECT_EQ(list[2]["items"][1]["number"], "3.2");
  EXPECT_EQ(list[6]["enabled"], false);
  EXPECT_EQ(list[1]["action"], "act:");
}

TEST_F(MenuCommandTest, WhyThereIsNoMenuIsSaid) {
  extension.menu = nullptr;
  startExtension();
  Result result = run({"menu", "a.txt"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "kelpie: there is no menu: the main application is not running; see: kelpie doctor\n");
  result = run({"menu", "--kind=sidebar", "--wait=50", "."});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: a sidebar has no menu\n");
}

TEST_F(MenuCommandTest, AContainerIsOneFolder) {
  startExtension();
  EXPECT_EQ(run({"menu", "--kind=container", "a.txt"}).err, "kelpie: a.txt: is no folder\n");
  EXPECT_EQ(run({"menu", "--kind=container", ".", "."}).err,
            "kelpie: the menu of a container takes one PATH\n");
}

TEST_F(DoCommandTest, AnItemIsChosenByTheIndicesThatLeadToIt) {
  struct Case {
    const char* why;
    const char* title;
    json path;
  };
  const Case cases[] = {{"an exact title", "Commit…", {1}},
                        {"without the ellipsis, in lower case", "commit", {1}},
                        {"a beginning", "Stage", {5}},
                        {"a submenu", "More/Ignore", {3, 0}},
                        {"the second submenu of that title", "More/Revert", {7, 0}},
                        {"a slash in the title", "Checkout/feature\\/x", {2, 1}}};
  startExtension();
  for (const Case& c : cases) {
    const Result result = run({"do", "--limit=0", c.title, "a.txt"});
    EXPECT_EQ(result.status, 0) << c.why << ": " << result.err;
    EXPECT_EQ(result.out + result.err, "") << c.why;
    const auto choices = extension.heard("choose");
    ASSERT_FALSE(choices.empty()) << c.why;
    EXPECT_EQ(choices.back()["path"], c.path) << c.why;
    EXPECT_EQ(choices.back()["menu"], extension.heard("menu").back()["id"]) << c.why;
  }
}

TEST_F(DoCommandTest, AMissingTitleListsTheItems) {
  startExtension();
  const Result result = run({"do", "--limit=0", "Fly", "a.txt"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "kelpie: the menu has no item \"Fly\"; it has:\n"
            "  Commit…\n"
            "  Checkout/main\n"
            "  Checkout/feature\\/x\n"
            "  More/Ignore\n"
            "  More/Export…\n"
            "  Stage \"a.txt\"\n"
            "  Pull\n"
            "  More/Revert\n"
            "  More/Re\\x1bset\n");
  EXPECT_TRUE(extension.heard("choose").empty());
}

TEST_F(DoCommandTest, AnAmbiguousTitleListsWhatItMayBe) {
  startExtension();
  const Result result = run({"do", "--limit=0", "More/Re", "a.txt"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "kelpie: \"More/Re\" may be:\n"
            "  More/Revert\n"
            "  More/Re\\x1bset\n");
}

TEST_F(DoCommandTest, ASubmenuListsItsItems) {
  startExtension();
  Result result = run({"do", "--limit=0", "Checkout", "a.txt"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "kelpie: \"Checkout\" is a submenu; it has:\n"
            "  Checkout/main\n"
            "  Checkout/feature\\/x\n");
  result = run({"do", "--limit=0", "More", "a.txt"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "kelpie: \"More\" is a submenu; it has:\n"
            "  More/Ignore\n"
            "  More/Export…\n"
            "  More/Revert\n"
            "  More/Re\\x1bset\n")
      << "of all submenus with that title";
}

TEST_F(DoCommandTest, ADisabledItemIsNotChosen) {
  startExtension();
  const Result result = run({"do", "--limit=0", "Pull", "a.txt"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: \"Pull\" is disabled at the moment\n");
  EXPECT_TRUE(extension.heard("choose").empty());
}

TEST_F(DoCommandTest, ARefusalIsReported) {
  extension.refusal = "the menu is not the newest one";
  startExtension();
  const Result result = run({"do", "--limit=0", "Commit", "a.txt"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: the extension refuses: the menu is not the newest one\n");
}

}  // namespace
}  // namespace kelpie::cli
