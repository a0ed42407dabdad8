#include "extension/FolderTables.h"

#include <gtest/gtest.h>

#include <string_view>

#include "support/FakePlatform.h"

namespace kelpie {
namespace {

FileIdentifier named(std::string_view name) { return FileIdentifier(bytesOf(name)); }

URL folder(std::string_view path) { return URL::fileURLWithPath(path, true); }

std::vector<std::string> pathsOf(const std::vector<URL>& urls) {
  std::vector<std::string> paths;
  for (const URL& url : urls) paths.push_back(url.path());
  return paths;
}

std::map<std::string, std::vector<std::string>> inactiveOf(const FolderTables& tables) {
  std::map<std::string, std::vector<std::string>> result;
  for (const auto& [parent, folders] : tables.inactiveFolders())
    result[std::string(textOf(parent.bytes()))] = pathsOf(folders);
  return result;
}

using Inactive = std::map<std::string, std::vector<std::string>>;
using Paths = std::vector<std::string>;

TEST(FolderTables, KeepFoldersUnderTheirParents) {
  FolderTables tables;
  tables.addInactiveFolder(named("a"), folder("/a/2"));
  tables.addInactiveFolder(named("a"), folder("/a/1"));
  tables.addInactiveFolder(named("b"), folder("/b/1"));
  EXPECT_EQ(inactiveOf(tables), (Inactive{{"a", {"/a/1", "/a/2"}}, {"b", {"/b/1"}}}));
}

TEST(FolderTables, AFolderThatIsGoneDoesNotPileUp) {
  FolderTables tables;
  for (int time = 0; time < 3; ++time) {
    tables.addInactiveFolder(named("a"), folder("/nowhere"));
    tables.addObservedDirectory(folder("/nowhere"), std::nullopt);
  }
  EXPECT_EQ(inactiveOf(tables), (Inactive{{"a", {"/nowhere"}}}));
  EXPECT_EQ(pathsOf(tables.observedDirectories()), Paths{"/nowhere"});
}

TEST(FolderTables, OneFolderOrAWholeParentCanBeRemoved) {
  FolderTables tables;
  tables.addInactiveFolder(named("a"), folder("/a/1"));
  tables.addInactiveFolder(named("a"), folder("/a/2"));
  tables.addInactiveFolder(named("b"), folder("/b/1"));
  tables.removeInactiveFolder(named("a"), folder("/a/1"));
  tables.removeInactiveFolder(named("b"), folder("/a/2"));
  tables.removeInactiveFolder(named("c"), folder("/a/2"));
  EXPECT_EQ(inactiveOf(tables), (Inactive{{"a", {"/a/2"}}, {"b", {"/b/1"}}}));
  tables.removeInactiveFolder(named("a"), folder("/a/2"));
  EXPECT_EQ(inactiveOf(tables), (Inactive{{"a", {}}, {"b", {"/b/1"}}}));
  tables.removeInactiveFolders(named("b"));
  EXPECT_EQ(inactiveOf(tables), (Inactive{{"a", {}}}));
}

TEST(FolderTables, ReplaceAllInactiveFolders) {
  FolderTables tables;
  tables.addInactiveFolder(named("a"), folder("/a/1"));
  tables.setInactiveFolders({{named("b"), {folder("/b/1"), folder("/b/1")}}, {named("c"), {}}});
  EXPECT_EQ(inactiveOf(tables), (Inactive{{"b", {"/b/1"}}, {"c", {}}}));
}

TEST(FolderTables, PutFoldersUnderTheIdentifiersThatTheirParentsHaveNow) {
  FakePlatform fakes;
  const FileIdentifier now = *fakes.files->addFolder("/a").identifier(*fakes.files);
  FolderTables tables;
  tables.addInactiveFolder(named("former"), folder("/a/1"));
  tables.addInactiveFolder(named("former"), folder("/gone/2"));
  tables.addInactiveFolder(named("before that"), folder("/a/4"));
  tables.addInactiveFolder(now, folder("/a/3"));
  tables.addInactiveFolder(named("empty"), folder("/a/5"));
  tables.removeInactiveFolder(named("empty"), folder("/a/5"));
  tables.putInactiveFoldersInOrder(*fakes.files);
  EXPECT_EQ(inactiveOf(tables),
            (Inactive{{"empty", {}},
                      {"former", {"/gone/2"}},
                      {std::string(textOf(now.bytes())), {"/a/1", "/a/3", "/a/4"}}}));
}

TEST(FolderTables, AnObservedDirectoryGoesHoweverItWasSpelled) {
  FolderTables tables;
  tables.addObservedDirectory(folder("/link/repo"), named("repo"));
  tables.addObservedDirectory(URL::fileURLWithPath("/data/repo"), named("repo"));
  tables.addObservedDirectory(folder("/data/repo"), named("repo"));
  tables.addObservedDirectory(folder("/data/other"), named("other"));
  tables.addObservedDirectory(folder("/data/gone"), std::nullopt);
  tables.removeObservedDirectory(named("repo"));
  EXPECT_EQ(pathsOf(tables.observedDirectories()), (Paths{"/data/gone", "/data/other"}));
  tables.clearObservedDirectories();
  EXPECT_TRUE(tables.observedDirectories().empty());
}

TEST(FolderTables, ObservedDirectoriesAreForgottenByTheirPaths) {
  FolderTables tables;
  tables.addObservedDirectory(folder("/gone"), named("gone"));
  tables.addObservedDirectory(URL::fileURLWithPath("/gone"), named("gone"));
  tables.addObservedDirectory(folder("/gone/below"), named("below"));
  tables.forgetObservedDirectories({"/gone", "/never/there"});
  EXPECT_EQ(pathsOf(tables.observedDirectories()), Paths{"/gone/below"});
}

TEST(FolderTables, AnObservedDirectoryIsKnownByWhatStoodThereLast) {
  FolderTables tables;
  tables.addObservedDirectory(folder("/repo"), named("first"));
  tables.addObservedDirectory(folder("/repo"), named("second"));
  tables.removeObservedDirectory(named("first"));
  EXPECT_EQ(pathsOf(tables.observedDirectories()), Paths{"/repo"});
  tables.removeObservedDirectory(named("second"));
  EXPECT_TRUE(tables.observedDirectories().empty());
}

}  // namespace
}  // namespace kelpie
