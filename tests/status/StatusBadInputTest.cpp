#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "status/RepositoryFixture.h"
#include "status/StatusInfo.h"

namespace kelpie {
namespace {

class StatusBadInputTest : public RepositoryFixture {};

TEST_F(StatusBadInputTest, AnEntryThatIsNoArrayIsNoEntry) {
  const Object keys[] = {Object(0x0100),      Object("x"),       Object(Dictionary{{"a", 1}}),
                         Object(Bytes{1, 0}), Object(url("/r")), Object::set({0x0100})};
  for (const Object& entry : keys) {
    Dictionary info = statusInfo({});
    info.set("KPRepositoryStatus", Dictionary{{Object(*url(file("/r/a")).identifier()), entry}});
    send(info);
    EXPECT_EQ(word("/r/a"), std::nullopt) << entry.description();
    repository->updateStagedStatus(urls({"/r/a"}));
    platform.runAll();
    EXPECT_EQ(platform.finder.badgeFor("/r/a"), "KPCurrentBadge") << entry.description();
  }
}

TEST_F(StatusBadInputTest, AnEmptyEntryIsNoEntryForQuestionsBadgesAndFolders) {
  showFolderStatus(true);
  file("/r/d/a");
  file("/r/d/b");
  Dictionary info = statusInfo({});
  info.set("KPRepositoryStatus",
           Dictionary{{identifier("/r/d/a"), Objects{}}, {identifier("/r/d/b"), Objects{0x0080}}});
  info.set("KPStatusDirtyURLs", urls({"/r/d/b"}));
  send(info);
  EXPECT_EQ(word("/r/d/a"), std::nullopt);
  EXPECT_FALSE(repository->isRevertableItemAtURL(url("/r/d/a")));
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge") << "it leaves the total";
  EXPECT_EQ(ask("/r/d/a"), "KPCurrentBadge");
  EXPECT_EQ(word("/r/d/a"), 0) << "the badge puts an entry in its place";
}

TEST_F(StatusBadInputTest, AWordIsCutToSixteenBitsAndAnythingElseIsZero) {
  struct Case {
    Object word;
    StatusWord want;
  };
  const Case cases[] = {
      {Object(0x10100), 0x0100}, {Object(-1), 0xFFFF},   {Object(0x7FFFFFFFFFFF8000), 0x8000},
      {Object(256.9), 0x0100},   {Object(true), 0x0001}, {Object("256"), 0},
      {Object(Objects{}), 0},    {Object(Bytes{1}), 0},
  };
  for (const Case& c : cases) {
    Dictionary info = statusInfo({});
    info.set("KPRepositoryStatus", Dictionary{{identifier(file("/r/a")), Objects{c.word}}});
    send(info);
    EXPECT_EQ(word("/r/a"), c.want) << c.word.description();
  }
}

TEST_F(StatusBadInputTest, KeysOfOtherClassesNameNothingAndHarmNothing) {
  Dictionary status = {{Object(5), Objects{1, "x"}},
                       {Object(true), Objects{1, "x"}},
                       {Object(2.5), Objects{1, "x"}},
                       {Object(Objects{"a"}), Objects{1, "x"}},
                       {Object(Dictionary{{"a", "b"}}), Objects{1, "x"}},
                       {Object(url("/r/a")), Objects{1, "x"}},
                       {Object(Bytes{}), Objects{1, "x"}},
                       {Object(""), Objects{1, "x"}},
                       {Object("/r/a"), Objects{1, "x"}}};
  status.set(identifier(file("/r/a")), Objects{0x0100, "/r/a"});
  Dictionary info = statusInfo({});
  info.set("KPRepositoryStatus", status);
  send(info);
  EXPECT_EQ(word("/r/a"), 0x0100);
}

TEST_F(StatusBadInputTest, APlaceholderKeyMayComeAsData) {
  const std::string path = gone("/r/\xFF");
  const ByteView bytes = bytesOf(path);
  Dictionary info = statusInfo({});
  info.set("KPRepositoryStatus",
           Dictionary{{Object(Bytes(bytes.begin(), bytes.end())), Objects{0x0200}}});
  send(info);
  EXPECT_EQ(word(path), 0x0200);
}

TEST_F(StatusBadInputTest, ValuesOfOtherClassesReadAsMissing) {
  const Object odd[] = {Object(),
                        Object("x"),
                        Object(7),
                        Object(Bytes{1}),
                        Object(url("/r")),
                        Object(Objects{"x", 5}),
                        Object(Dictionary{{"a", "b"}})};
  file("/r/a");
  for (const Object& value : odd) {
    Dictionary info;
    for (const char* key :
         {"KPRepositoryState", "KPRepositoryStatus", "KPStatusCreatedDirectoriesForDeletedItems",
          "KPStatusDirtyURLs", "KPStatusIgnoredURLs", "KPStatusDeletedURLs", "KPStatusNewCount",
          "KPStatusObservedPathsForRenamedItems"})
      if (!value.isNil()) info.set(key, value);
    send(info);
    EXPECT_EQ(ask("/r/a"), "KPCurrentBadge") << value.description();
    EXPECT_EQ(repository->dirtyUrls()->count(), value.isArray() ? 2U : 0U);
    repository->setStatusInfo(value);
    repository->updateStagedStatus(value);
    repository->updateUnstagedStatus(value);
    repository->updateBadges(value);
    platform.runAll();
  }
}

TEST_F(StatusBadInputTest, UrlsThatAreNoFileUrls) {
  showFolderStatus(true);
  const URL odd = *URL::fromString("https://host/r/d/a");
  const URL scheme = *URL::fromString("x:y");
  Dictionary info = statusInfo({{file("/r/d/a"), 0x0080}});
  for (const char* key : {"KPStatusIgnoredURLs", "KPStatusDeletedURLs", "KPStatusDirtyURLs",
                          "KPStatusCreatedDirectoriesForDeletedItems"})
    info.set(key, Objects{odd, scheme});
  send(info);
  EXPECT_EQ(ask("/r/d"), "KPCurrentBadge") << "none of them lies inside";
  EXPECT_TRUE(repository->isDirty());
  for (const URL& url : {odd, scheme}) {
    EXPECT_EQ(repository->identifierForUrl(url), std::nullopt);
    repository->addObservedURL(url);
    repository->updateStagedStatus(Objects{url});
    repository->updateStatusOfDirectoryURL(url);
    platform.runAll();
    EXPECT_EQ(platform.finder.badgeFor(url.path()), "KPCurrentBadge") << "of the aggregation";
  }
}

TEST_F(StatusBadInputTest, ABadgeThatIsNoStringIsNotSet) {
  for (const Object& badge : {Object(), Object(5), Object(Objects{"KPIgnoredBadge"})}) {
    Dictionary info = {{"urls", urls({"/r/a"})}};
    if (!badge.isNil()) info.set("badge", badge);
    repository->updateBadges(info);
  }
  EXPECT_TRUE(platform.finder.badges().empty());
}

TEST_F(StatusBadInputTest, LinksInALoop) {
  showFolderStatus(true);
  platform.files->addLink("/r/d/loop", "/r/d");
  platform.files->addLink("/r/d/self", "/r/d/self");
  send(statusInfo({{file("/r/d/a"), 0x0100}}));
  EXPECT_EQ(ask("/r/d"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(ask("/r/d/loop"), "KPCurrentBadge");
  EXPECT_EQ(ask("/r/d/loop/loop/loop/a"), "KPWorkdirModifiedBadge");
  EXPECT_EQ(ask("/r/d/self/x"), "KPEmptyBadge");
}

// A path as long as a message may be, in a list and as an item.
TEST_F(StatusBadInputTest, APathOfManyFolders) {
  showFolderStatus(true);
  std::string path = "/r/d";
  for (int i = 0; i < 20'000; ++i) path += "/d";
  Dictionary info = statusInfo({{file("/r/d/a"), 0x0080}});
  info.set("KPStatusDirtyURLs", urls({path}));
  info.set("KPStatusIgnoredURLs", urls({path}));
  info.set("KPStatusDeletedURLs", urls({path}));
  send(info);
  EXPECT_EQ(ask("/r/d"), "KPWorkdirNewBadge");
  EXPECT_EQ(ask(path), "KPEmptyBadge");
  EXPECT_FALSE(repository->isParentIgnoredUrl(url(path)));
}

TEST_F(StatusBadInputTest, TheLastOfTwoEqualKeysWins) {
  // As only an archive can hold them; here by way of a dictionary that replaces.
  Dictionary status;
  status.set(identifier(file("/r/a")), Objects{1});
  status.set(identifier("/r/a"), Objects{2});
  repository->setStatus(status);
  EXPECT_EQ(word("/r/a"), 2);
}

}  // namespace
}  // namespace kelpie
