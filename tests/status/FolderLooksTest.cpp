#include "status/FolderLooks.h"

#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class FolderLooksTest : public testing::Test {
 protected:
  EventLog events;
  FakeFileSystem files{events};
};

TEST_F(FolderLooksTest, OneFolderHoweverItsPathIsWritten) {
  FolderLooks looks(files);
  const FolderLooks::Folder* folder = looks.folderAt("/r/a");
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->path(), "/r/a");
  EXPECT_EQ(looks.folderAt("/r/a/"), folder);
  EXPECT_EQ(looks.folderAt("//r//a"), folder);
  EXPECT_EQ(looks.parentOfPath("/r/a/x"), folder);
  EXPECT_EQ(looks.parentOf(URL::fileURLWithPath("/r/a/x")), folder);
  EXPECT_NE(looks.folderAt("/r/a/.."), folder->parent());
}

TEST_F(FolderLooksTest, ParentsEndAtTheRoot) {
  FolderLooks looks(files);
  const FolderLooks::Folder* folder = looks.folderAt("/r/a");
  EXPECT_EQ(folder->parent()->path(), "/r");
  EXPECT_EQ(folder->parent()->parent()->path(), "/");
  EXPECT_EQ(folder->parent()->parent()->parent(), nullptr);
  EXPECT_EQ(looks.parentOfPath("/r"), looks.folderAt("/"));
}

TEST_F(FolderLooksTest, NoFolderHoldsTheRootOrWhatIsNoAbsolutePath) {
  FolderLooks looks(files);
  EXPECT_EQ(looks.parentOfPath("/"), nullptr);
  EXPECT_EQ(looks.parentOfPath(""), nullptr);
  EXPECT_EQ(looks.parentOfPath("a/b"), nullptr);
  EXPECT_EQ(looks.folderAt("a"), nullptr);
  EXPECT_EQ(looks.parentOf(*URL::fromString("https://host/a/b")), nullptr);
}

TEST_F(FolderLooksTest, EachFolderIsLookedAtOnce) {
  files.addFile("/r/a/x");
  FolderLooks looks(files);
  const FolderLooks::Folder* folder = looks.folderAt("/r/a");
  EXPECT_TRUE(looks.valuesOf(*folder).isDirectory);
  EXPECT_TRUE(looks.valuesOf(*looks.folderAt("/r/a")).isDirectory);
  EXPECT_EQ(files.lookUps("/r/a"), 1U);
  EXPECT_EQ(looks.identifierOf(*looks.folderAt("/r/none")), std::nullopt);
  EXPECT_EQ(looks.identifierOf(*looks.folderAt("/r/none")), std::nullopt);
  EXPECT_EQ(files.lookUps("/r/none"), 1U);
  EXPECT_EQ(files.lookUps("/r"), 0U);
}

TEST_F(FolderLooksTest, WhatOthersSawIsNotLookedAtAgain) {
  files.addFolder("/r/a");
  FolderLooks looks(files);
  const FolderLooks::Folder* folder = looks.folderAt("/r/a");
  looks.remember(*folder, {FileIdentifier(bytesOf("seen")), true, false, false});
  EXPECT_EQ(looks.identifierOf(*folder), FileIdentifier(bytesOf("seen")));
  EXPECT_EQ(files.lookUps(), 0U);
}

TEST_F(FolderLooksTest, ManyFoldersKeepTheirNames) {
  FolderLooks looks(files);
  std::vector<const FolderLooks::Folder*> folders;
  for (int i = 0; i < 5000; ++i) {
    folders.push_back(looks.folderAt("/r/" + std::to_string(i % 70) + "/" + std::to_string(i)));
  }
  for (int i = 0; i < 5000; ++i) {
    const std::string path = "/r/" + std::to_string(i % 70) + "/" + std::to_string(i);
    ASSERT_EQ(folders[static_cast<std::size_t>(i)]->path(), path);
    ASSERT_EQ(looks.folderAt(path), folders[static_cast<std::size_t>(i)]);
  }
}

}  // namespace
}  // namespace kelpie
