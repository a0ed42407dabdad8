#include "foundation/MemoFileSystem.h"

#include <gtest/gtest.h>

#include "foundation/Object.h"
#include "foundation/URL.h"
#include "platform/BookmarkResolution.h"
#include "support/EventLog.h"
#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class MemoFileSystemTest : public testing::Test {
 protected:
  EventLog events;
  FakeFileSystem files{events};
  MemoFileSystem memo{files};
};

TEST_F(MemoFileSystemTest, LooksOnceAtEachPath) {
  const URL file = files.addFile("/a/file");
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(file.identifier(memo));
    EXPECT_FALSE(URL::fileURLWithPath("/a/file", true).isDirectory(memo));
    EXPECT_FALSE(URL::fileURLWithPath("/missing").identifier(memo));
  }
  EXPECT_EQ(files.lookUps("/a/file"), 1U);
  EXPECT_EQ(files.lookUps("/missing"), 1U);
}

TEST_F(MemoFileSystemTest, DoesNotSeeWhatChangesMeanwhile) {
  const URL file = files.addFile("/a");
  EXPECT_TRUE(file.identifier(memo));
  files.remove("/a");
  EXPECT_TRUE(file.identifier(memo));
  EXPECT_FALSE(file.identifier(MemoFileSystem(files)));
}

TEST_F(MemoFileSystemTest, FindsParentsOfManyItemsWithALookAtEachFolder) {
  files.addFolder("/r/a/b");
  for (int i = 0; i < 100; ++i)
    EXPECT_TRUE(URL::fileURLWithPath("/r").isParentOfUrl(
        URL::fileURLWithPath("/r/a/b/" + std::to_string(i)), memo));
  EXPECT_EQ(files.lookUps("/r/a/b"), 1U);
  EXPECT_EQ(files.lookUps("/r/a"), 1U);
}

TEST_F(MemoFileSystemTest, KeepsApartWhatIsNoFile) {
  files.addFile("/a");
  EXPECT_TRUE(URL::fileURLWithPath("/a").identifier(memo));
  EXPECT_FALSE(URL::fromString("http://h/a")->identifier(memo));
}

TEST_F(MemoFileSystemTest, HandsEverythingElseOn) {
  const URL file = files.addFile("/a/file");
  files.setIcon("/a/file", {"icon"});
  const URL folder = URL::fileURLWithPath("/a");
  EXPECT_EQ(memo.localizedName(file), "file");
  EXPECT_EQ(memo.icon(file), Image{"icon"});
  EXPECT_EQ(memo.parentUrl(file)->path(), "/a");
  EXPECT_EQ(memo.fileReferenceUrl(file)->path(), "/a/file");
  EXPECT_EQ(memo.contentsOfDirectory(folder).size(), 1U);
  EXPECT_EQ(memo.enumerator(folder, nullptr)->next()->path, "/a/file");
  EXPECT_EQ(memo.resolveBookmark(files.addBookmark("/a/file")).url->path(), "/a/file");
}

}  // namespace
}  // namespace kelpie
