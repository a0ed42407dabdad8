#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "archive/PropertyList.h"
#include "cli/CommandTest.h"
#include "platform/linux/Bookmark.h"
#include "platform/linux/DefaultsFile.h"

namespace kelpie::cli {
namespace {

class FoldersCommandTest : public CommandTest {
 protected:
  std::string settingsPath() const { return home / "config/kelpie/group.org.kelpie.plist"; }
  Dictionary stored() const { return DefaultsFile(settingsPath()).read().values; }
  void store(const std::string& key, const Object& value) const {
    const auto problem = DefaultsFile(settingsPath()).update([&](Dictionary& values) {
      values.set(key, value);
      return true;
    });
    EXPECT_EQ(problem.value_or(""), "");
  }
};

TEST_F(FoldersCommandTest, AddedFoldersAreStoredAsBookmarks) {
  home.addFolder("one");
  home.addFolder("two");
  EXPECT_EQ(run({"folders", "add", home / "one", home / "two"}).status, 0);
  const Object list = stored()["KPFoldersPaths"];
  ASSERT_EQ(list.size(), 2U);
  const auto bookmark = list.at(0).data();
  ASSERT_TRUE(bookmark);
  const auto resolution = Bookmark::resolve(*bookmark);
  ASSERT_TRUE(resolution.url);
  EXPECT_EQ(resolution.url->path(), home / "one");
  EXPECT_FALSE(resolution.isStale);
  EXPECT_EQ(run({"folders", "list"}).out, home / "one" + "\n" + home / "two" + "\n");
}

TEST_F(FoldersCommandTest, AFolderIsAddedOnceHoweverItIsSpelled) {
  home.addFolder("one");
  home.addLink("link", "one");
  EXPECT_EQ(run({"folders", "add", home / "one", "../one/", home / "link"}).status, 0);
  EXPECT_EQ(run({"folders", "list"}).out, home / "one" + "\n");
}

TEST_F(FoldersCommandTest, RemovedFoldersAreGone) {
  home.addFolder("one");
  home.addFolder("two");
  run({"folders", "add", home / "one", home / "two"});
  std::filesystem::remove(home / "one");
  EXPECT_EQ(run({"folders", "list"}).out,
            home / "one" + "  (nothing is there)\n" + home / "two" + "\n");
  EXPECT_EQ(run({"folders", "remove", home / "one"}).status, 0) << "also when it is gone";
  EXPECT_EQ(run({"folders", "list"}).out, home / "two" + "\n");
  const Result result = run({"folders", "remove", home / "one"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "kelpie: " + home / "one" + ": is not in the list; see: kelpie folders list\n");
}

TEST_F(FoldersCommandTest, ALinkRemovesItsOwnEntryElseThatOfItsTarget) {
  home.addFolder("one");
  home.addFolder("two");
  run({"folders", "add", home / "one", home / "two"});
  // By now the folder has moved, and a link leads to the other one.
  std::filesystem::remove(home / "one");
  home.addLink("one", "two");
  EXPECT_EQ(run({"folders", "remove", home / "one"}).status, 0);
  EXPECT_NE(run({"folders", "list"}).out.find(home / "two"), std::string::npos);
  EXPECT_EQ(run({"folders", "list"}).out.find(home / "one"), std::string::npos);

  home.addLink("to two", "two");
  std::filesystem::remove(home / "two");
  EXPECT_EQ(run({"folders", "remove", home / "to two"}).status, 0) << "also a target that is gone";
  EXPECT_EQ(run({"folders", "list"}).out, "");
}

TEST_F(FoldersCommandTest, AFolderMadeAnewIsBookmarkedAnew) {
  home.addFolder("one");
  run({"folders", "add", home / "one"});
  std::filesystem::rename(home / "one", home / "former");
  home.addFolder("one");
  EXPECT_EQ(nlohmann::json::parse(run({"folders", "list", "--json"}).out)[0]["state"], "replaced");
  EXPECT_EQ(run({"folders", "add", home / "one"}).status, 0);
  const auto list = nlohmann::json::parse(run({"folders", "list", "--json"}).out);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list[0]["state"], "present");
}

TEST_F(FoldersCommandTest, OnlyFoldersAreAdded) {
  home.addFile("files/a.txt");
  const Result result = run({"folders", "add", "a.txt"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: a.txt: is no folder\n");
}

TEST_F(FoldersCommandTest, EntriesThatAreNoBookmarksAreShownAndDropped) {
  store("KPFoldersPaths", Objects{"text", 7, Bytes{1, 2, 3}});
  EXPECT_EQ(nlohmann::json::parse(run({"folders", "list", "--json"}).out)[0]["state"],
            "no bookmark");
  const Result result = run({"folders", "add", files});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "kelpie: dropped an entry of the list that was no bookmark\n");
  EXPECT_EQ(run({"folders", "list"}).out, files + "\n");
}

TEST_F(FoldersCommandTest, OtherSettingsStay) {
  store("KPApplicationVersion", "1");
  run({"folders", "add", files});
  EXPECT_EQ(stored()["KPApplicationVersion"].stringValue(), "1");
}

TEST_F(FoldersCommandTest, AFileThatIsNoneOfOursIsLeftAsItIs) {
  std::filesystem::create_directories(home / "config/kelpie");
  std::ofstream(settingsPath()) << "something else";
  const Result result = run({"folders", "add", files});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: " + settingsPath() + " does not hold settings\n");
  std::string content;
  std::getline(std::ifstream(settingsPath()), content);
  EXPECT_EQ(content, "something else");
}

}  // namespace
}  // namespace kelpie::cli
