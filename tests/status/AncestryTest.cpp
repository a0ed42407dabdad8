#include "status/Ancestry.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "status/DirtyFolders.h"
#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

// Paths that are plain, and paths that go round: through links, over "..", to nothing.
const char* const kPaths[] = {
    "/",
    "/r",
    "/r/a",
    "/r/a/b",
    "/r/a/b/f",
    "/r/a/b/g",
    "/r/c",
    "/r/c/f",
    "/r/a/../c/f",
    "/r/a/b/../../a/b/f",
    "/r/link",
    "/r/link/b",
    "/r/link/b/f",
    "/r/link/b/link/b/f",
    "/r/a/b/..",
    "/s",
    "/s/f",
    "/r/none",
    "/r/none/f",
    "/r/a/none/../b/f",
    "/r/a/b/up/c",
    "/r/a/b/up/c/f",
    "/r/a/b/up",
    "/r/a/b/up/a/b/f",
    "/r/a/b/same/f",
};

class AncestryTest : public testing::Test {
 protected:
  AncestryTest() {
    for (const char* path : {"/r/a/b/f", "/r/a/b/g", "/r/c/f", "/s/f"}) files.addFile(path);
    files.addLink("/r/link", "/r/a");
    files.addLink("/r/a/b/link", "/r/a");
    files.addLink("/r/a/b/up", "/r");
    // Two folders that are one, as a bind mount makes them: what stands below a folder is that
    // folder's own parent again.
    files.addFile("/r/a/b/same/f");
    files.setIdentifier("/r/a/b/same", Object(*files.resourceValues(url("/r")).identifier));
  }

  static URL url(std::string_view path) { return URL::fileURLWithPath(path); }

  EventLog events;
  FakeFileSystem files{events};
};

TEST_F(AncestryTest, AgreesWithTheUrlsOwnAnswer) {
  int yes = 0;
  for (const char* receiver : kPaths) {
    FolderCache cache(files);
    Ancestry ancestry(url(receiver), cache);
    for (const char* item : kPaths) {
      const bool expected = url(receiver).isParentOfUrl(url(item), files);
      EXPECT_EQ(ancestry.isParentOf(url(item).identifier(files), cache.parentOf(url(item))),
                expected)
          << receiver << " of " << item;
      yes += expected ? 1 : 0;
    }
  }
  EXPECT_GT(yes, 50);
}

TEST_F(AncestryTest, AFileAndANetworkUrlAreParentOfNothing) {
  FolderCache cache(files);
  Ancestry file(url("/r/a/b/f"), cache);
  EXPECT_FALSE(file.isParentOf(std::nullopt, cache.folderAt("/r/a/b/f")));
  Ancestry network(*URL::fromString("https://host/r"), cache);
  EXPECT_FALSE(network.isParentOf(std::nullopt, cache.folderAt("/r")));
}

TEST_F(AncestryTest, DirtyFoldersAgreeWithAskingForEachItem) {
  // Each path alone, then all of them together, then the latter half.
  std::vector<std::vector<const char*>> lists;
  for (const char* path : kPaths) lists.push_back({path});
  lists.emplace_back(std::begin(kPaths), std::end(kPaths));
  lists.emplace_back(std::begin(kPaths) + 12, std::end(kPaths));
  for (const std::vector<const char*>& list : lists) {
    Objects urls;
    for (const char* path : list) urls.emplace_back(url(path));
    urls.emplace_back(*URL::fromString("https://host/r/a/b/f"));
    const auto dirtyUrls = std::make_shared<const UrlList>(Object(urls));
    FolderCache cache(files);
    DirtyFolders dirty(dirtyUrls, cache);
    for (const char* folder : kPaths) {
      bool expected = false;
      for (const char* path : list)
        expected = expected || url(folder).isParentOfUrl(url(path), files);
      EXPECT_EQ(dirty.isOneInside(url(folder)), expected) << folder << " of " << list.front();
    }
    EXPECT_FALSE(dirty.isOneInside(*URL::fromString("https://host/r")));
  }
}

TEST_F(AncestryTest, DirtyFoldersLookAtEachFolderOnce) {
  Objects urls;
  for (int i = 0; i < 1000; ++i)
    urls.emplace_back(files.addFile("/r/d" + std::to_string(i % 10) + "/f" + std::to_string(i)));
  const auto dirtyUrls = std::make_shared<const UrlList>(Object(urls));
  files.forgetCounts();
  FolderCache cache(files);
  DirtyFolders dirty(dirtyUrls, cache);
  for (int i = 0; i < 10; ++i) {
    const std::string folder = "/r/d" + std::to_string(i);
    EXPECT_TRUE(dirty.isOneInside(url(folder)));
    EXPECT_EQ(files.lookUps(folder), 1U);
  }
  // The folders, "/r" and "/", and for each folder the one item that proves it.
  EXPECT_LE(files.lookUps(), 10U + 2U + 10U);
}

}  // namespace
}  // namespace kelpie
