#include "platform/macos/MacFileSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "macos/TestPlatform.h"
#include "platform/BookmarkResolution.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

class MacFiles : public testing::Test {
 protected:
  MacFiles() {
    folder.addFile("repo/a.txt");
    folder.addFile("repo/sub/b.txt");
    folder.addFile("repo/Some.app/Contents/Info.plist");
    folder.addLink("repo/link", "sub");
  }

  URL url(std::string_view path) const { return URL::fileURLWithPath(folder / path); }

  TemporaryFolder folder;
  MacFileSystem files;
};

TEST_F(MacFiles, OneLookTellsWhatAFileIs) {
  const ResourceValues sub = files.resourceValues(url("repo/sub"));
  EXPECT_TRUE(sub.isDirectory && !sub.isPackage && !sub.isSymbolicLink);
  EXPECT_TRUE(files.resourceValues(url("repo/Some.app")).isPackage);
  const ResourceValues link = files.resourceValues(url("repo/link"));
  EXPECT_TRUE(link.isSymbolicLink && !link.isDirectory);
  EXPECT_NE(link.identifier, sub.identifier);
  EXPECT_EQ(files.resourceValues(url("repo/sub/")).identifier, sub.identifier);
}

TEST_F(MacFiles, WhatIsNotThereIsEmpty) {
  for (const URL& gone : {url("gone"), *URL::fromString("https://example.org/tmp")}) {
    EXPECT_FALSE(files.resourceValues(gone).identifier);
    EXPECT_FALSE(files.fileReferenceUrl(gone));
    EXPECT_FALSE(files.localizedName(gone));
    EXPECT_TRUE(files.contentsOfDirectory(gone).empty());
  }
  EXPECT_EQ(files.localizedName(url("repo/a.txt")), "a.txt");
}

TEST_F(MacFiles, ParentsAreThoseOfTheSystem) {
  EXPECT_EQ(files.parentUrl(url("repo/sub"))->path(), folder / "repo");
  EXPECT_FALSE(files.parentUrl(*URL::fromString("https://example.org/tmp")));
  EXPECT_FALSE(files.parentUrl(*URL::fromString("file:///.file/id=1.2"))) << "a file that is gone";

  EXPECT_EQ(files.parentUrl(url("gone/below"))->path(), folder / "gone");
  EXPECT_FALSE(files.parentUrl(URL::fileURLWithPath("/")));
  const URL reference = *URL::fromString(stdString(
      [[[NSURL fileURLWithPath:nsString(folder / "repo")] fileReferenceURL] absoluteString]));
  EXPECT_EQ(files.parentUrl(reference)->path(), folder.path());
}

TEST_F(MacFiles, AReferenceFollowsItsFile) {
  const std::optional<URL> reference = files.fileReferenceUrl(url("repo"));
  ASSERT_TRUE(reference);
  const auto identifier = files.resourceValues(url("repo")).identifier;
  ASSERT_TRUE(identifier);
  EXPECT_EQ(files.resourceValues(*reference).identifier, identifier);

  std::filesystem::rename(folder / "repo", folder / "moved");
  folder.addFile("repo/other.txt");
  EXPECT_EQ(files.resourceValues(*reference).identifier, identifier);
  EXPECT_NE(files.resourceValues(url("repo")).identifier, identifier);
  EXPECT_TRUE(files.resourceValues(*reference).isDirectory);
  EXPECT_EQ(files.parentUrl(*reference)->path(), folder.path());
  EXPECT_EQ(files.localizedName(*reference), "moved");
  EXPECT_TRUE(reference->isParentOfUrl(url("moved/sub/b.txt"), files));
  EXPECT_FALSE(reference->isParentOfUrl(url("repo/other.txt"), files));
  EXPECT_TRUE(url("moved").isEqual(*reference, files));
  EXPECT_EQ(files.fileReferenceUrl(*reference)->absoluteString(), reference->absoluteString());
  const auto walk = files.enumerator(*reference, nullptr);
  const DirectoryEntry* const entry = walk->next();
  ASSERT_NE(entry, nullptr);
  EXPECT_TRUE(entry->path.starts_with(folder / "moved/")) << entry->path;
  EXPECT_EQ(files.contentsOfDirectory(*reference).size(), 4U);
  EXPECT_EQ(files.filePathUrl(*reference)->path(), folder / "moved");
  EXPECT_EQ(files.filePathUrl(url("gone"))->path(), folder / "gone")
      << "no reference, whatever is there";

  std::filesystem::remove_all(folder / "moved");
  EXPECT_FALSE(files.resourceValues(*reference).identifier);
  EXPECT_FALSE(files.parentUrl(*reference));
  EXPECT_FALSE(files.filePathUrl(*reference));
  EXPECT_TRUE(files.contentsOfDirectory(*reference).empty());
}

TEST_F(MacFiles, IconsAreThoseOfTheSystem) {
  EXPECT_EQ(files.icon(url("repo/a.txt")), Image{url("repo/a.txt").absoluteString()});
  EXPECT_FALSE(files.icon(url("gone")));
}

TEST_F(MacFiles, AFolderIsListedWithItsHiddenItems) {
  folder.addFile("repo/.hidden");
  std::vector<std::string> names;
  for (const URL& item : files.contentsOfDirectory(url("repo"))) {
    EXPECT_EQ(item.deletingLastPathComponent()->path(), folder / "repo");
    names.emplace_back(item.lastPathComponent());
  }
  std::ranges::sort(names);
  EXPECT_EQ(names, (std::vector<std::string>{".hidden", "Some.app", "a.txt", "link", "sub"}));
}

TEST_F(MacFiles, AWalkMeetsEverythingBelowAFolder) {
  std::map<std::string, bool> seen;
  const auto walk = files.enumerator(url("repo"), nullptr);
  while (const DirectoryEntry* entry = walk->next()) {
    seen[std::string(entry->path)] = entry->isDirectory;
    EXPECT_EQ(entry->identifier,
              files.resourceValues(URL::fileURLWithPath(entry->path)).identifier);
  }
  const std::map<std::string, bool> wanted = {
      {folder / "repo/a.txt", false},
      {folder / "repo/link", false},
      {folder / "repo/sub", true},
      {folder / "repo/sub/b.txt", false},
      {folder / "repo/Some.app", true},
      {folder / "repo/Some.app/Contents", true},
      {folder / "repo/Some.app/Contents/Info.plist", false}};
  EXPECT_EQ(seen, wanted);
}

TEST_F(MacFiles, AWalkLeavesOutWhatItIsToldTo) {
  const auto walk = files.enumerator(url("repo"), nullptr);
  int items = 0;
  while (walk->next() != nullptr) {
    walk->skipDescendants();
    ++items;
  }
  EXPECT_EQ(items, 4);
}

TEST_F(MacFiles, AWalkOverNothingSaysSo) {
  for (const URL& nothing : {url("gone"), *URL::fromString("https://example.org/")}) {
    std::int64_t code = 0;
    const auto walk = files.enumerator(nothing, [&](const std::string&, const Error& error) {
      code = error.code;
      return false;
    });
    EXPECT_EQ(walk->next(), nullptr);
    EXPECT_EQ(code, 260);
  }
}

TEST_F(MacFiles, WhatAnErrorHandlerRaisesEndsTheWalkOnly) {
  const auto walk = files.enumerator(url("gone"), [](const std::string&, const Error&) -> bool {
    throw std::invalid_argument("a test");
  });
  EXPECT_EQ(walk->next(), nullptr);
}

TEST_F(MacFiles, BookmarksLeadToTheirFiles) {
  @autoreleasepool {
    NSData* const bookmark = bookmarkOf(nsString(folder / "repo"));
    const BookmarkResolution found = files.resolveBookmark(bytesOfData(bookmark));
    ASSERT_TRUE(found.url);
    EXPECT_EQ(found.url->path(), folder / "repo");
    EXPECT_FALSE(found.error);
    const BookmarkResolution foreign = files.resolveBookmark(Bytes{1, 2, 3});
    EXPECT_FALSE(foreign.url);
    ASSERT_TRUE(foreign.error);
    EXPECT_EQ(foreign.error->code, 259);
  }
}

}  // namespace
}  // namespace kelpie
