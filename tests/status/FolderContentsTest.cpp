#include "status/FolderContents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class FolderContentsTest : public testing::Test {
 protected:
  static URL url(std::string_view path) { return URL::fileURLWithPath(path); }

  void addFile(const std::string& path) {
    files.addFile(path);
    const auto number = static_cast<StatusWord>(names.size());
    names.push_back(path);
    numbers.record(*url(path).identifier(files), number);
  }
  static UrlList list(const std::vector<std::string>& paths) {
    Objects urls;
    for (const std::string& path : paths) urls.emplace_back(url(path));
    return UrlList(Object(urls));
  }

  // The paths of the files that the contents give for the folder; absent when its walk failed.
  std::optional<std::vector<std::string>> filesOf(FolderContents& contents,
                                                  const std::string& folder) {
    const std::optional<std::size_t> count = contents.count(url(folder));
    std::vector<std::string> paths;
    contents.forEachPart(url(folder), [&](std::span<const FolderContents::File> part) {
      for (const FolderContents::File& file : part) {
        const auto number = file.hasIdentifier() ? numbers.wordOf(contents.keyOf(file)) : 0;
        paths.push_back(number ? names[*number] : "?");
      }
    });
    std::sort(paths.begin(), paths.end());
    if (!count) {
      EXPECT_TRUE(paths.empty()) << folder;
      return std::nullopt;
    }
    EXPECT_EQ(paths.size(), *count) << folder;
    return paths;
  }

  // The same by a walk of its own.
  std::optional<std::vector<std::string>> walk(const std::string& folder,
                                               const IgnoredUrls& ignored) {
    bool failed = false;
    std::vector<std::string> paths;
    const auto walk = files.enumerator(url(folder), [&failed](const std::string&, const Error&) {
      failed = true;
      return false;
    });
    while (const DirectoryEntry* entry = walk->next())
      if (!entry->isDirectory)
        paths.emplace_back(entry->path);
      else if (ignored.contains(entry->path, entry->identifier, files))
        walk->skipDescendants();
    if (failed) return std::nullopt;
    std::sort(paths.begin(), paths.end());
    return paths;
  }

  EventLog events;
  FakeFileSystem files{events};
  StatusTable numbers;
  std::vector<std::string> names;
};

TEST_F(FolderContentsTest, FilesAtAllDepthsAndNoFolders) {
  for (const char* path : {"/r/a", "/r/d/b", "/r/d/e/c", "/r/.hidden/f", "/s/x"}) addFile(path);
  files.addFolder("/r/empty");
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  EXPECT_EQ(filesOf(contents, "/r"),
            (std::vector<std::string>{"/r/.hidden/f", "/r/a", "/r/d/b", "/r/d/e/c"}));
  EXPECT_EQ(filesOf(contents, "/r/empty"), std::vector<std::string>{});
  EXPECT_EQ(filesOf(contents, "/"), walk("/", ignored));
}

TEST_F(FolderContentsTest, TheRootIsWalkedTogetherWithFoldersInIt) {
  for (const char* path : {"/x", "/a/1", "/a/d/2", "/b/3"}) addFile(path);
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  for (const char* folder : {"/", "/a", "/a/d"}) contents.announce(folder);
  EXPECT_EQ(filesOf(contents, "/"), walk("/", ignored));
  EXPECT_EQ(filesOf(contents, "/a"), (std::vector<std::string>{"/a/1", "/a/d/2"}));
  EXPECT_EQ(filesOf(contents, "/a/d"), std::vector<std::string>{"/a/d/2"});
}

TEST_F(FolderContentsTest, AFolderThatIsGoneOrUnreadableFails) {
  addFile("/r/a");
  addFile("/r/closed/b");
  files.setUnreadable("/r/closed");
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  EXPECT_EQ(filesOf(contents, "/none"), std::nullopt);
  EXPECT_EQ(filesOf(contents, "/r"), std::nullopt);
}

TEST_F(FolderContentsTest, AHardLinkCountsTwice) {
  addFile("/r/a");
  files.addFile("/r/b");
  files.setIdentifier("/r/b", Object(*url("/r/a").identifier(files)));
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  EXPECT_EQ(contents.count(url("/r")), 2U);
  EXPECT_EQ(filesOf(contents, "/r"), (std::vector<std::string>{"/r/a", "/r/a"}));
}

TEST_F(FolderContentsTest, AFileWithoutIdentifierIsCounted) {
  addFile("/r/a");
  files.addFile("/r/b");
  files.setVanishing("/r/b");
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  EXPECT_EQ(contents.count(url("/r")), 2U);
}

TEST_F(FolderContentsTest, LongIdentifiersKeepTheirKeys) {
  for (int i = 0; i < 5; ++i) {
    const std::string path = "/r/f" + std::to_string(i);
    files.addFile(path);
    files.setIdentifier(path, Object(Bytes(40, static_cast<std::uint8_t>(i))));
    addFile(path);
  }
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  EXPECT_EQ(filesOf(contents, "/r"), walk("/r", ignored));
}

TEST_F(FolderContentsTest, ExpectedFoldersAreWalkedWithTheFolderAround) {
  for (const char* path : {"/r/x", "/r/a/1", "/r/a/d/2", "/r/b/3", "/r/b/c/4"}) addFile(path);
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  for (const char* folder : {"/r", "/r/a", "/r/a/d", "/r/b"}) contents.announce(folder);
  EXPECT_EQ(filesOf(contents, "/r"), walk("/r", ignored));
  events.clear();
  EXPECT_EQ(filesOf(contents, "/r/a"), (std::vector<std::string>{"/r/a/1", "/r/a/d/2"}));
  EXPECT_EQ(filesOf(contents, "/r/a/d"), std::vector<std::string>{"/r/a/d/2"});
  EXPECT_EQ(filesOf(contents, "/r/b"), (std::vector<std::string>{"/r/b/3", "/r/b/c/4"}));
  EXPECT_EQ(events.count("files.walk"), 0U);
}

TEST_F(FolderContentsTest, AFolderAroundLeavesOutWhatWasWalked) {
  for (const char* path : {"/r/x", "/r/a/1", "/r/a/d/2", "/r/b/3"}) addFile(path);
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  for (const char* folder : {"/r", "/r/a"}) contents.announce(folder);
  EXPECT_EQ(filesOf(contents, "/r/a"), (std::vector<std::string>{"/r/a/1", "/r/a/d/2"}));
  // Changed since: seen only if the folder were walked again.
  files.remove("/r/a/d/2");
  EXPECT_EQ(filesOf(contents, "/r"),
            (std::vector<std::string>{"/r/a/1", "/r/a/d/2", "/r/b/3", "/r/x"}));
}

TEST_F(FolderContentsTest, AnErrorFailsTheFoldersAroundItAndNoOther) {
  for (const char* path : {"/r/a/1", "/r/b/c/2", "/r/b/d/3", "/r/e/4"}) addFile(path);
  files.setUnreadable("/r/b/c");
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  for (const char* folder : {"/r", "/r/a", "/r/b", "/r/b/d", "/r/e"}) contents.announce(folder);
  EXPECT_EQ(filesOf(contents, "/r"), std::nullopt);
  events.clear();
  EXPECT_EQ(filesOf(contents, "/r/b"), std::nullopt);
  EXPECT_EQ(events.count("files.walk"), 0U) << "the error was met already";
  EXPECT_EQ(filesOf(contents, "/r/a"), std::vector<std::string>{"/r/a/1"});
  EXPECT_EQ(filesOf(contents, "/r/b/d"), std::vector<std::string>{"/r/b/d/3"});
  EXPECT_EQ(filesOf(contents, "/r/e"), std::vector<std::string>{"/r/e/4"});
}

TEST_F(FolderContentsTest, AFailedFolderFailsTheOneAroundIt) {
  for (const char* path : {"/r/a/1", "/r/b/c/2"}) addFile(path);
  files.setUnreadable("/r/b/c");
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  for (const char* folder : {"/r", "/r/b"}) contents.announce(folder);
  EXPECT_EQ(filesOf(contents, "/r/b"), std::nullopt);
  EXPECT_EQ(filesOf(contents, "/r"), std::nullopt);
}

// A folder that is ignored is left out of those around it, and has contents when it is asked about
// itself.
TEST_F(FolderContentsTest, AnIgnoredFolderIsLeftOutAndHasContentsItself) {
  for (const char* path : {"/r/x", "/r/build/1", "/r/build/sub/2"}) addFile(path);
  const IgnoredUrls ignored(list({"/r/build"}));
  FolderContents contents(files, ignored);
  for (const char* folder : {"/r", "/r/build", "/r/build/sub"}) contents.announce(folder);
  EXPECT_EQ(filesOf(contents, "/r"), std::vector<std::string>{"/r/x"});
  EXPECT_EQ(filesOf(contents, "/r/build"),
            (std::vector<std::string>{"/r/build/1", "/r/build/sub/2"}));
  EXPECT_EQ(filesOf(contents, "/r/build/sub"), std::vector<std::string>{"/r/build/sub/2"});
}

TEST_F(FolderContentsTest, LinksAreFilesAndNotFollowed) {
  addFile("/r/a/1");
  files.addLink("/r/a/loop", "/r/a");
  files.addLink("/r/dangling", "/nowhere");
  const IgnoredUrls ignored;
  FolderContents contents(files, ignored);
  contents.announce("/r/a/loop");
  EXPECT_EQ(contents.count(url("/r")), 3U);
}

// Whatever the tree, the folders and the order in which they are asked about: the answers are those
// of a walk of each folder's own.
TEST_F(FolderContentsTest, AgreesWithOneWalkForEachFolder) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    const std::string top = "/" + std::to_string(round);
    std::vector<std::string> folders{top};
    for (int i = 0; i < 25; ++i) {
      const std::string& parent = folders[random() % folders.size()];
      folders.push_back(parent + "/d" + std::to_string(i));
      files.addFolder(folders.back());
    }
    for (int i = 0; i < 60; ++i)
      addFile(folders[random() % folders.size()] + "/f" + std::to_string(i));
    std::vector<std::string> ignoredPaths;
    if (round % 2 == 0) ignoredPaths.push_back(folders[1 + random() % 25]);
    if (round % 3 == 0) files.setUnreadable(folders[1 + random() % 25]);
    const IgnoredUrls ignored(list(ignoredPaths));

    FolderContents contents(files, ignored);
    std::shuffle(folders.begin(), folders.end(), random);
    folders.resize(12);
    for (const std::string& folder : folders) contents.announce(folder);
    std::shuffle(folders.begin(), folders.end(), random);
    for (const std::string& folder : folders)
      ASSERT_EQ(filesOf(contents, folder), walk(folder, ignored)) << folder << " round " << round;
  }
}

}  // namespace
}  // namespace kelpie
