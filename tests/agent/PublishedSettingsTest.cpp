#include "agent/PublishedSettings.h"

#include <gtest/gtest.h>

#include "platform/linux/Bookmark.h"
#include "settings/SettingsKeys.h"
#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

class PublishedSettingsTest : public testing::Test {
 protected:
  Dictionary values() const { return file().read().values; }
  DefaultsFile file() const { return DefaultsFile(folder_ / "config/kelpie/g.plist"); }
  void set(std::string_view key, const Object& value) const {
    ASSERT_FALSE(file().update([&](Dictionary& all) {
      all.set(key, value);
      return true;
    }));
  }

  TemporaryFolder folder_;
  std::string home_ = folder_.addFolder("home");
  PublishedSettings settings_{file()};
};

TEST_F(PublishedSettingsTest, TheFirstStartObservesTheHomeFolder) {
  ASSERT_FALSE(settings_.publish("7", home_));
  EXPECT_EQ(values()[kApplicationVersionKey].stringValue(), "7");
  const Object folders = values()[kFoldersPathsKey];
  ASSERT_EQ(folders.size(), 1U);
  const BookmarkResolution home = Bookmark::resolve(folders.at(0).data().value());
  ASSERT_TRUE(home.url);
  EXPECT_EQ(home.url->path(), home_);
  EXPECT_FALSE(home.isStale);
}

TEST_F(PublishedSettingsTest, FoldersThatAreConfiguredStay) {
  const Bytes other = Bookmark::make(folder_.addFolder("other")).value();
  set(kFoldersPathsKey, Objects{Object(other)});
  ASSERT_FALSE(settings_.publish("7", home_));
  EXPECT_EQ(values()[kFoldersPathsKey].at(0).data(), other);
  EXPECT_EQ(values()[kFoldersPathsKey].size(), 1U);
}

TEST_F(PublishedSettingsTest, AListThatTheUserHasEmptiedStaysEmpty) {
  ASSERT_FALSE(settings_.publish("7", home_));
  set(kFoldersPathsKey, Objects());
  ASSERT_FALSE(settings_.publish("8", home_));
  EXPECT_EQ(values()[kFoldersPathsKey].size(), 0U);
  EXPECT_EQ(values()[kApplicationVersionKey].stringValue(), "8");
}

TEST_F(PublishedSettingsTest, AFileThatSaysItAllIsNotWrittenAgain) {
  ASSERT_FALSE(settings_.publish("7", home_));
  const DefaultsFile::Stamp before = file().stamp();
  ASSERT_FALSE(settings_.publish("7", home_));
  EXPECT_EQ(file().stamp(), before);
}

TEST_F(PublishedSettingsTest, AHomeThatIsNotThereIsNotObserved) {
  ASSERT_FALSE(settings_.publish("7", folder_ / "nowhere"));
  EXPECT_TRUE(values()[kFoldersPathsKey].isNil());
  EXPECT_EQ(values()[kApplicationVersionKey].stringValue(), "7");
}

TEST_F(PublishedSettingsTest, AFileThatCannotBeReadIsNotReplaced) {
  folder_.addFile("config/kelpie/g.plist", "this is no property list");
  const DefaultsFile::Stamp before = file().stamp();
  EXPECT_TRUE(settings_.publish("7", home_));
  EXPECT_EQ(file().stamp(), before);
}

}  // namespace
}  // namespace kelpie::agent
