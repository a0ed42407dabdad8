#include "agent/git/StatusSnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "support/EventLog.h"
#include "support/FakeFileSystem.h"

namespace kelpie::agent {
namespace {

class StatusSnapshotTest : public testing::Test {
 protected:
  Object message(std::vector<StatusItem> items, RepositoryState state = RepositoryState::None) {
    return StatusSnapshot("/r", state, std::move(items), true).toObject(files_);
  }

  Object keyOf(const std::string& path) {
    const URL url = URL::fileURLWithPath(path);
    return Object::orNil(url.identifier(files_));
  }

  std::vector<std::string> paths(const Object& urls) {
    std::vector<std::string> result;
    for (const Object& each : urls.elements()) result.push_back(each.url()->path());
    return result;
  }

  EventLog events_;
  FakeFileSystem files_{events_};
};

TEST_F(StatusSnapshotTest, AnItemIsKeyedByItsIdentifier) {
  files_.addFile("/r/a");
  const Object status = message({{"a", "", 0x0102, false, false}})["KPRepositoryStatus"];
  ASSERT_EQ(status.size(), 1U);
  const Object entry = status[keyOf("/r/a")];
  EXPECT_EQ(entry.at(0).unsignedShortValue(), 0x0102);
  EXPECT_EQ(entry.at(1).stringValue(), "/r/a");
  EXPECT_TRUE(status.isMutable());
}

TEST_F(StatusSnapshotTest, ADeletedItemIsKeyedByItsPlaceholder) {
  const Object sent = message({{"d", "", 0x0200, false, true}, {"e", "", 0x0004, false, true}});
  const std::string placeholder = "/r/d \x0E.kelpieDeleted";
  EXPECT_EQ(sent["KPRepositoryStatus"][std::string_view(placeholder)].at(0).unsignedShortValue(),
            0x0200);
  EXPECT_EQ(paths(sent["KPStatusDeletedURLs"]),
            (std::vector<std::string>{placeholder, "/r/e \x0E.kelpieDeleted"}));
  EXPECT_EQ(paths(sent["KPStatusDirtyURLs"]), paths(sent["KPStatusDeletedURLs"]));
}

TEST_F(StatusSnapshotTest, ADeletedFileWithAFolderInItsPlaceIsStillAPlaceholder) {
  files_.addFolder("/r/d");
  const Object sent = message({{"d", "", 0x0200, false, true}});
  EXPECT_TRUE(sent["KPRepositoryStatus"][keyOf("/r/d")].isNil());
  EXPECT_EQ(sent["KPStatusDeletedURLs"].size(), 1U);
}

TEST_F(StatusSnapshotTest, AConflictWithoutAFileIsAPlaceholder) {
  files_.addFile("/r/both");
  const Object sent =
      message({{"both", "", 0x8000, false, false}, {"x", "", 0x8000, false, false}});
  EXPECT_EQ(sent["KPRepositoryStatus"][keyOf("/r/both")].at(0).unsignedShortValue(), 0x8000);
  EXPECT_EQ(paths(sent["KPStatusDeletedURLs"]),
            (std::vector<std::string>{"/r/x \x0E.kelpieDeleted"}));
}

TEST_F(StatusSnapshotTest, AnItemThatIsGoneMeanwhileIsLeftOut) {
  const Object sent = message({{"new", "", 0x0080, false, false}});
  EXPECT_EQ(sent["KPRepositoryStatus"].size(), 0U);
  EXPECT_EQ(sent["KPStatusDirtyURLs"].size(), 0U);
  EXPECT_EQ(sent["KPStatusNewCount"].integerValue(), 0);
}

TEST_F(StatusSnapshotTest, NewItemsAreCountedAndIgnoredOnesAreNotDirty) {
  for (const char* path : {"/r/new", "/r/staged", "/r/i"}) files_.addFile(path);
  files_.addFolder("/r/build");
  const Object sent = message({{"new", "", 0x0080, false, false},
                               {"staged", "", 0x0001, false, false},
                               {"i", "", 0x4000, false, false},
                               {"build", "", 0x4000, true, false}});
  EXPECT_EQ(sent["KPStatusNewCount"].integerValue(), 1);
  EXPECT_EQ(paths(sent["KPStatusDirtyURLs"]), (std::vector<std::string>{"/r/new", "/r/staged"}));
  EXPECT_EQ(paths(sent["KPStatusIgnoredURLs"]), (std::vector<std::string>{"/r/i", "/r/build"}));
  EXPECT_EQ(sent["KPRepositoryStatus"][keyOf("/r/build")].at(0).unsignedShortValue(), 0x4000)
      << "a folder without an entry would be taken for a usual one";
}

TEST_F(StatusSnapshotTest, TheNewPathsOfRenamedItemsStandUnderTheirFolder) {
  for (const char* path : {"/r/sub/x", "/r/sub/y", "/r/z"}) files_.addFile(path);
  const Object renamed =
      message({{"sub/x", "a", 0x0008, false, false},
               {"z", "b", 0x0108, false, false},
               {"sub/y", "c", 0x0800, false, false}})["KPStatusObservedPathsForRenamedItems"];
  ASSERT_EQ(renamed.size(), 2U);
  const Object inSub = renamed[keyOf("/r/sub")];
  ASSERT_EQ(inSub.size(), 2U);
  EXPECT_EQ(inSub.at(0).stringValue(), "/r/sub/x");
  EXPECT_EQ(inSub.at(1).stringValue(), "/r/sub/y");
  EXPECT_EQ(renamed[keyOf("/r")].at(0).stringValue(), "/r/z");
}

TEST_F(StatusSnapshotTest, APathThatIsNotUtf8TravelsAsData) {
  files_.addFile("/r/\xff");
  const Object sent = message({{"\xff", "", 0x0100, false, false}, {"\xfe", "", 4, false, true}});
  EXPECT_EQ(sent["KPRepositoryStatus"][keyOf("/r/\xff")].at(1).pathBytes(), "/r/\xff");
  const std::string placeholder = "/r/\xfe \x0E.kelpieDeleted";
  EXPECT_FALSE(sent["KPRepositoryStatus"][Object::path(placeholder)].isNil());
  EXPECT_EQ(paths(sent["KPStatusDeletedURLs"]), (std::vector<std::string>{placeholder}));
}

TEST_F(StatusSnapshotTest, EveryKeyIsThereEvenWithoutAnItem) {
  const Object sent = message({}, RepositoryState::Merge);
  EXPECT_EQ(sent["KPRepositoryState"].integerValue(), 1);
  EXPECT_TRUE(sent["KPRepositoryStatus"].isDictionary());
  EXPECT_TRUE(sent["KPStatusCreatedDirectoriesForDeletedItems"].isArray());
  EXPECT_TRUE(sent["KPStatusDirtyURLs"].isArray());
  EXPECT_TRUE(sent["KPStatusIgnoredURLs"].isArray());
  EXPECT_TRUE(sent["KPStatusDeletedURLs"].isArray());
  EXPECT_TRUE(sent["KPStatusNewCount"].isNumber());
  EXPECT_TRUE(sent["KPStatusObservedPathsForRenamedItems"].isDictionary());
}

TEST_F(StatusSnapshotTest, ItemsAreFoundByPath) {
  const StatusSnapshot snapshot("/r", RepositoryState::None,
                                {{"a", "", 0x0100, false, false},
                                 {"a.b", "", 0x0080, false, false},
                                 {"a/x", "", 0x0002, false, false},
                                 {"build", "", 0x4000, true, false},
                                 {"f.o", "", 0x4000, false, false}},
                                true);
  ASSERT_NE(snapshot.itemAt("a/x"), nullptr);
  EXPECT_EQ(snapshot.itemAt("a/x")->word, 0x0002);
  EXPECT_EQ(snapshot.itemAt("b"), nullptr);
}

// Against the plain definition: every folder above an unknown item that is above no changed one.
TEST_F(StatusSnapshotTest, FoldersWithUnknownItemsOnlyAreUnknown) {
  std::mt19937 random(7);
  const auto below = [&random](std::size_t bound) { return random() % bound; };
  for (int round = 0; round < 300; ++round) {
    std::map<std::string, StatusItem> items;
    std::set<std::string> unknown;
    std::set<std::string> changed;
    for (std::size_t left = below(8); left > 0; --left) {
      std::string path;
      for (std::size_t depth = below(4); depth > 0; --depth)
        path += std::string(1 + below(2), "a!0"[below(3)]) + '/';
      const StatusWord word =
          std::array<StatusWord, 3>{kStatusUnknown, 0x0100, KPStatusIgnored}.at(below(3));
      const std::string file = path + "file" + std::to_string(left);
      files_.addFile("/r/" + file);
      items["/r/" + file] = {file, "", word, false, false};
      if (word == KPStatusIgnored) continue;
      std::set<std::string>& folders = word == kStatusUnknown ? unknown : changed;
      for (; !path.empty(); path = path.substr(0, path.rfind('/', path.size() - 2) + 1))
        folders.insert("/r/" + path.substr(0, path.size() - 1));
      folders.insert("/r");
    }
    std::vector<StatusItem> all;
    for (const auto& [path, item] : items) all.push_back(item);
    std::set<std::string> want;
    std::ranges::set_difference(unknown, changed, std::inserter(want, want.end()));
    const Dictionary sent = message(std::move(all))["KPRepositoryStatus"].dictionary();
    std::set<std::string> got;
    for (const auto& [key, entry] : sent.entries())
      if (const std::string path = entry.at(1).stringValue(); !items.contains(path))
        got.insert(path);
    ASSERT_EQ(got, want);
  }
}

// An index may name what cannot exist. To look at each folder of such a path would take longer than
// a test may.
TEST_F(StatusSnapshotTest, FilesInAMillionFoldersThatAreGoneTakeNoLongerThanOthers) {
  std::string path;
  path.reserve(3'000'000);
  while (path.size() < 3'000'000 - 1) path += "a/";
  files_.addFile("/r/b/unknown");
  const Object sent = message({{path + "f", "", 0x0200, false, true},
                               {"z/" + path, "", kStatusUnknown, false, false},
                               {"b/unknown", "", kStatusUnknown, false, false}});
  EXPECT_EQ(sent["KPStatusDeletedURLs"].size(), 1U);
  EXPECT_EQ(sent["KPRepositoryStatus"].size(), 3U) << "what is gone, what is there, and its folder";
}

}  // namespace
}  // namespace kelpie::agent
