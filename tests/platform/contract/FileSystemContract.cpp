#include "platform/contract/FileSystemContract.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/Error.h"
#include "foundation/URL.h"
#include "platform/BookmarkResolution.h"

namespace kelpie {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FileSystemContract);

namespace {

// What a walk meets, by the names below the folder, and where it had errors.
struct Walked {
  std::set<std::string> items;
  std::set<std::string> errors;
};

Walked walk(const FileSystem& files, const URL& folder, bool goesOn,
            const std::string& leftOut = "") {
  Walked walked;
  const auto enumerator = files.enumerator(folder, [&](const std::string& path, const Error&) {
    walked.errors.insert(path);
    return goesOn;
  });
  while (const DirectoryEntry* entry = enumerator->next()) {
    walked.items.insert(std::string(entry->path));
    if (entry->path == leftOut) enumerator->skipDescendants();
  }
  return walked;
}

TEST_P(FileSystemContract, ALookTellsWhatAnItemIs) {
  world->addFile("file");
  world->addFolder("folder");
  world->addLink("link", "folder");
  EXPECT_FALSE(look("file").isDirectory || look("file").isSymbolicLink);
  EXPECT_TRUE(look("folder").isDirectory && !look("folder").isSymbolicLink);
  EXPECT_TRUE(look("link").isSymbolicLink && !look("link").isDirectory) << "itself, no target";
}

TEST_P(FileSystemContract, ItemsThatAreThereHaveIdentifiersOfTheirOwn) {
  world->addFile("a");
  world->addFile("b");
  world->addLink("link", "a");
  ASSERT_TRUE(look("a").identifier && look("b").identifier && look("link").identifier);
  EXPECT_EQ(look("a").identifier, look("a").identifier);
  EXPECT_NE(look("a").identifier, look("b").identifier);
  EXPECT_NE(look("a").identifier, look("link").identifier);
}

TEST_P(FileSystemContract, AnIdentifierStaysWithAnItemThatIsMoved) {
  world->addFile("folder/file");
  const auto folder = look("folder").identifier;
  const auto file = look("folder/file").identifier;
  world->move("folder", "moved");
  EXPECT_EQ(look("moved").identifier, folder);
  EXPECT_EQ(look("moved/file").identifier, file);
  EXPECT_FALSE(look("folder/file").identifier);
}

TEST_P(FileSystemContract, WhatIsNotThereOrNoFileHasNothing) {
  for (const URL& gone : {url("gone"), *URL::fromString("https://example.org/tmp")}) {
    EXPECT_FALSE(files.resourceValues(gone).identifier) << gone.absoluteString();
    EXPECT_FALSE(files.localizedName(gone)) << gone.absoluteString();
    EXPECT_FALSE(files.fileReferenceUrl(gone)) << gone.absoluteString();
    EXPECT_TRUE(files.contentsOfDirectory(gone).empty()) << gone.absoluteString();
  }
  EXPECT_FALSE(files.parentUrl(*URL::fromString("https://example.org/tmp")));
}

TEST_P(FileSystemContract, AParentIsTheFolderWhetherTheItemIsThereOrNot) {
  world->addFile("folder/file");
  EXPECT_EQ(files.parentUrl(url("folder/file"))->path(), world->path("folder"));
  EXPECT_EQ(files.parentUrl(url("folder/gone"))->path(), world->path("folder"));
  EXPECT_EQ(files.parentUrl(url("folder"))->path() + "/folder", world->path("folder"));
  EXPECT_FALSE(files.parentUrl(URL::fileURLWithPath("/")));
}

TEST_P(FileSystemContract, AReferenceIsGoodForEveryQuestion) {
  world->addFile("folder/file");
  const std::optional<URL> reference = files.fileReferenceUrl(url("folder"));
  ASSERT_TRUE(reference);
  EXPECT_EQ(files.resourceValues(*reference).identifier, look("folder").identifier);
  EXPECT_TRUE(files.resourceValues(*reference).isDirectory);
  EXPECT_EQ(files.parentUrl(*reference)->path() + "/folder", world->path("folder"));
  const std::vector<URL> contents = files.contentsOfDirectory(*reference);
  ASSERT_EQ(contents.size(), 1U);
  EXPECT_EQ(files.filePathUrl(contents.front())->path(), world->path("folder/file"));
  EXPECT_EQ(walk(files, *reference, true).items, std::set{world->path("folder/file")});
  EXPECT_EQ(files.fileReferenceUrl(*reference)->absoluteString(), reference->absoluteString());
}

TEST_P(FileSystemContract, ThePathOfAReferenceIsWhereItsFileIs) {
  world->addFile("folder/file");
  const std::optional<URL> reference = files.fileReferenceUrl(url("folder/file"));
  ASSERT_TRUE(reference);
  EXPECT_EQ(files.filePathUrl(*reference)->path(), world->path("folder/file"));
  world->move("folder", "moved");
  // It follows, or it is a path that stays what it is.
  const std::optional<URL> place = files.filePathUrl(*reference);
  ASSERT_TRUE(place);
  const bool follows = files.resourceValues(*reference).identifier.has_value();
  EXPECT_EQ(place->path(), world->path(follows ? "moved/file" : "folder/file"));
}

TEST_P(FileSystemContract, TheUrlOfAPathIsItsOwnPathWhateverIsThere) {
  EXPECT_EQ(files.filePathUrl(url("gone"))->absoluteString(), url("gone").absoluteString());
}

TEST_P(FileSystemContract, AFolderIsListedWithItsHiddenItemsAndNotBelowThem) {
  world->addFile("folder/.hidden");
  world->addFile("folder/sub/below");
  world->addFile("file");
  std::set<std::string> paths;
  for (const URL& item : files.contentsOfDirectory(url("folder"))) paths.insert(item.path());
  EXPECT_EQ(paths, (std::set{world->path("folder/.hidden"), world->path("folder/sub")}));
  EXPECT_TRUE(files.contentsOfDirectory(url("file")).empty());
}

TEST_P(FileSystemContract, AWalkMeetsAllThatLiesBelowAndFollowsNoLink) {
  world->addFile("folder/sub/file");
  world->addFile("outside/other");
  world->addLink("folder/link", "../outside");
  const Walked walked = walk(files, url("folder"), true);
  EXPECT_EQ(walked.items, (std::set{world->path("folder/sub"), world->path("folder/sub/file"),
                                    world->path("folder/link")}));
  EXPECT_TRUE(walked.errors.empty());
}

TEST_P(FileSystemContract, AWalkTellsTheKindAndTheIdentifierOfEachItem) {
  world->addFile("folder/file");
  world->addFolder("folder/sub");
  const auto enumerator = files.enumerator(url("folder"), nullptr);
  int met = 0;
  while (const DirectoryEntry* entry = enumerator->next()) {
    ++met;
    EXPECT_EQ(entry->isDirectory, entry->path.ends_with("sub"));
    EXPECT_EQ(entry->identifier,
              files.resourceValues(URL::fileURLWithPath(entry->path)).identifier);
  }
  EXPECT_EQ(met, 2);
}

TEST_P(FileSystemContract, AWalkLeavesOutWhatItIsToldTo) {
  world->addFile("folder/a/1");
  world->addFile("folder/b/2");
  const Walked walked = walk(files, url("folder"), true, world->path("folder/a"));
  EXPECT_EQ(walked.items, (std::set{world->path("folder/a"), world->path("folder/b"),
                                    world->path("folder/b/2")}));
}

TEST_P(FileSystemContract, AWalkBelowAFolderThatIsGoneIsOneError) {
  world->addFolder("folder");
  world->remove("folder");
  for (const bool goesOn : {true, false}) {
    const Walked walked = walk(files, url("folder"), goesOn);
    EXPECT_TRUE(walked.items.empty());
    EXPECT_EQ(walked.errors, std::set{world->path("folder")});
  }
}

TEST_P(FileSystemContract, NoBookmarkGivesNoUrl) {
  for (const Bytes& bytes : {Bytes(), Bytes{1, 2, 3}, Bytes(100, 0xFF)})
    EXPECT_FALSE(files.resolveBookmark(bytes).url);
}

}  // namespace
}  // namespace kelpie
