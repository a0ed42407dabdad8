#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/CommandTest.h"
#include "platform/linux/DefaultsFile.h"

namespace kelpie::cli {
namespace {

class SettingsCommandTest : public CommandTest {
 protected:
  Dictionary stored() const {
    return DefaultsFile(home / "config/kelpie/group.org.kelpie.plist").read().values;
  }
  // "-1 -3", from an array of tags.
  static std::string tags(const Object& array) {
    std::string text;
    for (const Object& tag : array.elements())
      text += (text.empty() ? "" : " ") + std::to_string(tag.integerValue());
    return text;
  }
};

TEST_F(SettingsCommandTest, FolderStatusIsASwitch) {
  EXPECT_EQ(run({"settings", "get", "folder-status"}).out, "on\n");
  EXPECT_EQ(run({"settings", "set", "folder-status", "off"}).status, 0);
  EXPECT_EQ(stored()["KPShowFolderGitStatus"].kind(), Object::Kind::Boolean);
  EXPECT_FALSE(stored()["KPShowFolderGitStatus"].boolValue());
  EXPECT_EQ(run({"settings", "get", "folder-status"}).out, "off\n");
  EXPECT_EQ(run({"settings", "get", "folder-status", "--json"}).out, "false\n");
  const Result result = run({"settings", "set", "folder-status", "maybe"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "kelpie: folder-status is \"on\" or \"off\"\n");
}

TEST_F(SettingsCommandTest, ListsAreStoredByGroupInTheOrderGiven) {
  EXPECT_EQ(
      run({"settings", "set", "menu-items", "-3", "Stage", "pull", "Commit...", "1005"}).status, 0);
  const Object menu = stored()["KPContextualMenuItems"];
  EXPECT_EQ(tags(menu["KPRootMenuItems"]["KPRepoMenuItems"]), "27 5");
  EXPECT_EQ(tags(menu["KPRootMenuItems"]["KPFileMenuItems"]), "-3 -1");
  EXPECT_EQ(tags(menu["KPRootMenuItems"]["KPAppMenuItems"]), "1005");
  EXPECT_EQ(tags(menu["KPMoreMenuItems"]["KPFileMenuItems"]), "-13 -14 -7 -8 -9")
      << "the other list of the menu stays";
  EXPECT_FALSE(stored().contains("KPToolbarItemMenuItems"));
  EXPECT_EQ(run({"settings", "get", "menu-items"}).out,
            "  27  Pull\n"
            "   5  Commit…\n"
            "  -3  See changes…\n"
            "  -1  Stage\n"
            "1005  Quit\n");
}

TEST_F(SettingsCommandTest, AListCanBeEmpty) {
  EXPECT_EQ(run({"settings", "set", "toolbar-more-items", "none"}).status, 0);
  EXPECT_EQ(run({"settings", "get", "toolbar-more-items"}).out, "");
  EXPECT_NE(run({"settings", "list"}).out.find("toolbar-more-items  none\n"), std::string::npos);
}

TEST_F(SettingsCommandTest, ItemsThatDoNotExistAreRefused) {
  struct Case {
    std::vector<std::string> words;
    const char* problem;
  };
  const Case cases[] = {
      {{"Fly"}, "there is no menu item \"Fly\"; see: kelpie settings list --json"},
      {{"12"}, "there is no menu item \"12\"; see: kelpie settings list --json"},
      {{"Stage", "-1"}, "\"-1\" is there twice"}};
  for (const Case& c : cases) {
    std::vector<std::string> words = {"settings", "set", "menu-items"};
    words.insert(words.end(), c.words.begin(), c.words.end());
    const Result result = run(words);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "kelpie: " + std::string(c.problem) + "\n");
  }
  EXPECT_TRUE(stored().empty());
}

TEST_F(SettingsCommandTest, ResetGoesBackToTheFactoryLists) {
  run({"settings", "set", "menu-items", "Stage"});
  run({"settings", "set", "menu-more-items", "Unstage"});
  run({"settings", "set", "folder-status", "off"});
  EXPECT_EQ(run({"settings", "reset", "menu-items"}).status, 0);
  EXPECT_EQ(tags(stored()["KPContextualMenuItems"]["KPRootMenuItems"]["KPFileMenuItems"]),
            "-1 -2 -3 -4 -5 -6 -11");
  EXPECT_EQ(run({"settings", "get", "menu-more-items"}).out, "  -2  Unstage\n");
  EXPECT_EQ(run({"settings", "reset"}).status, 0);
  EXPECT_TRUE(stored().empty()) << "what has its default is not stored";
}

TEST_F(SettingsCommandTest, ListShowsWhatIsDefault) {
  run({"settings", "set", "menu-items", "Stage", "Unstage"});
  const std::string out = run({"settings", "list"}).out;
  EXPECT_NE(out.find("folder-status       on (default)\n"), std::string::npos) << out;
  EXPECT_NE(out.find("menu-items          Stage, Unstage\n"), std::string::npos) << out;
  const auto all = nlohmann::json::parse(run({"settings", "list", "--json"}).out);
  EXPECT_EQ(all["menu-items"]["default"], false);
  EXPECT_EQ(all["menu-items"]["value"][1]["title"], "Unstage");
  EXPECT_EQ(all["items"].size(), 59U);
}

TEST_F(SettingsCommandTest, ASettingThatDoesNotExistIsRefused) {
  const Result result = run({"settings", "get", "colour"});
  EXPECT_EQ(result.status, 2);
  EXPECT_TRUE(result.err.starts_with("kelpie: there is no setting \"colour\"; there are folder-"))
      << result.err;
}

TEST_F(SettingsCommandTest, AFolderThatCannotBeWrittenIsReported) {
  environment["XDG_CONFIG_HOME"] = "/proc/nowhere";
  const Result result = run({"settings", "set", "folder-status", "off"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("kelpie: cannot make /proc/nowhere")) << result.err;
}

}  // namespace
}  // namespace kelpie::cli
