#include "status/FolderCache.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class FolderCacheTest : public testing::Test {
 protected:
  EventLog events;
  FakeFileSystem files{events};
};

TEST_F(FolderCacheTest, OneFolderHoweverItsPathIsWritten) {
  FolderCache cache(files);
  const FolderCache::Folder* folder = cache.folderAt("/r/a");
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->path(), "/r/a");
  EXPECT_EQ(cache.folderAt("/r/a/"), folder);
  EXPECT_EQ(cache.folderAt("//r//a"), folder);
  EXPECT_EQ(cache.parentOfPath("/r/a/x"), folder);
  EXPECT_EQ(cache.parentOf(URL::fileURLWithPath("/r/a/x")), folder);
  EXPECT_NE(cache.folderAt("/r/a/.."), folder->parent());
}

TEST_F(FolderCacheTest, ParentsEndAtTheRoot) {
  FolderCache cache(files);
  const FolderCache::Folder* folder = cache.folderAt("/r/a");
  EXPECT_EQ(folder->parent()->path(), "/r");
  EXPECT_EQ(folder->parent()->parent()->path(), "/");
  EXPECT_EQ(folder->parent()->parent()->parent(), nullptr);
  EXPECT_EQ(cache.parentOfPath("/r"), cache.folderAt("/"));
}

TEST_F(FolderCacheTest, NoFolderHoldsTheRootOrWhatIsNoAbsolutePath) {
  FolderCache cache(files);
  EXPECT_EQ(cache.parentOfPath("/"), nullptr);
  EXPECT_EQ(cache.parentOfPath(""), nullptr);
  EXPECT_EQ(cache.parentOfPath("a/b"), nullptr);
  EXPECT_EQ(cache.folderAt("a"), nullptr);
  EXPECT_EQ(cache.parentOf(*URL::fromString("https://host/a/b")), nullptr);
}

TEST_F(FolderCacheTest, EachFolderIsLookedAtOnce) {
  files.addFile("/r/a/x");
  FolderCache cache(files);
  const FolderCache::Folder* folder = cache.folderAt("/r/a");
  EXPECT_TRUE(cache.valuesOf(*folder).isDirectory);
  EXPECT_TRUE(cache.valuesOf(*cache.folderAt("/r/a")).isDirectory);
  EXPECT_EQ(files.lookUps("/r/a"), 1U);
  EXPECT_EQ(cache.identifierOf(*cache.folderAt("/r/none")), std::nullopt);
  EXPECT_EQ(cache.identifierOf(*cache.folderAt("/r/none")), std::nullopt);
  EXPECT_EQ(files.lookUps("/r/none"), 1U);
  EXPECT_EQ(files.lookUps("/r"), 0U);
}

TEST_F(FolderCacheTest, WhatOthersSawIsNotLookedAtAgain) {
  files.addFolder("/r/a");
  FolderCache cache(files);
  const FolderCache::Folder* folder = cache.folderAt("/r/a");
  cache.remember(*folder, {FileIdentifier(bytesOf("seen")), true, false, false});
  EXPECT_EQ(cache.identifierOf(*folder), FileIdentifier(bytesOf("seen")));
  EXPECT_EQ(files.lookUps(), 0U);
}

TEST_F(FolderCacheTest, ManyFoldersKeepTheirNames) {
  FolderCache cache(files);
  std::vector<const FolderCache::Folder*> folders;
  for (int i = 0; i < 5000; ++i)
    folders.push_back(cache.folderAt("/r/" + std::to_string(i % 70) + "/" + std::to_string(i)));
  for (int i = 0; i < 5000; ++i) {
    const std::string path = "/r/" + std::to_string(i % 70) + "/" + std::to_string(i);
    ASSERT_EQ(folders[static_cast<std::size_t>(i)]->path(), path);
    ASSERT_EQ(cache.folderAt(path), folders[static_cast<std::size_t>(i)]);
  }
}

}  // namespace
}  // namespace kelpie
