#include "extension/RootFinder.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>

#include "foundation/MemoFileSystem.h"
#include "support/EventLog.h"
#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class RootFinderTest : public testing::Test {
 protected:
  // Which of the roots hold the path.
  RootFinder::Indexes rootsOf(const std::vector<URL>& roots, std::string_view path) {
    return RootFinder(roots, files).rootsOf(URL::fileURLWithPath(path));
  }

  EventLog events;
  FakeFileSystem files{events};
};

using Indexes = RootFinder::Indexes;

TEST_F(RootFinderTest, ARootHoldsItselfAndAllBelow) {
  const std::vector<URL> roots = {files.addFolder("/a/repo"), files.addFolder("/b")};
  files.addFile("/a/repo/src/deep/file");
  files.addFile("/a/other/file");
  EXPECT_EQ(rootsOf(roots, "/a/repo"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/a/repo/"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/a/repo/src"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/a/repo/src/deep/file"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/a/repo/not/there"), Indexes{0}) << "a deleted item is inside as well";
  EXPECT_EQ(rootsOf(roots, "/b"), Indexes{1});
  EXPECT_EQ(rootsOf(roots, "/a"), Indexes{});
  EXPECT_EQ(rootsOf(roots, "/a/other/file"), Indexes{});
  EXPECT_EQ(rootsOf(roots, "/"), Indexes{});
  EXPECT_EQ(rootsOf({}, "/a/repo"), Indexes{});
}

TEST_F(RootFinderTest, NestedRootsAreFoundInTheirOrder) {
  const URL outer = files.addFolder("/work");
  const URL inner = files.addFolder("/work/inner");
  files.addFile("/work/inner/file");
  EXPECT_EQ(rootsOf({outer, inner}, "/work/inner/file"), (Indexes{0, 1}));
  EXPECT_EQ(RootFinder({inner, outer}, files).firstRootOf(URL::fileURLWithPath("/work/inner")), 0U);
  EXPECT_EQ(RootFinder({outer, inner}, files).firstRootOf(URL::fileURLWithPath("/work/inner")), 0U);
  EXPECT_EQ(RootFinder({inner, outer}, files).firstRootOf(URL::fileURLWithPath("/work/x")), 1U);
  EXPECT_EQ(RootFinder({inner}, files).firstRootOf(URL::fileURLWithPath("/work/x")), std::nullopt);
}

TEST_F(RootFinderTest, ARootWhosePlaceHasAnotherFolderHoldsNothing) {
  const URL url = files.addFolder("/a/repo");
  const RootFinder::Root root{url, url.identifier(files)};
  files.addFile("/a/repo/file");
  const std::vector<URL> items = {url, URL::fileURLWithPath("/a/repo/file")};
  for (const URL& item : items) EXPECT_EQ(RootFinder({root}, files).firstRootOf(item), 0U);
  files.move("/a/repo", "/a/former");
  files.addFile("/a/repo/file");
  for (const char* item : {"/a/repo", "/a/repo/file", "/a/former", "/a/former/file"})
    EXPECT_EQ(RootFinder({root}, files).firstRootOf(URL::fileURLWithPath(item)), std::nullopt)
        << item << ": neither what stands there now nor the folder that it was";
}

TEST_F(RootFinderTest, APathThroughALinkLeadsToTheSameRoot) {
  const std::vector<URL> roots = {files.addFolder("/data/repo")};
  files.addFile("/data/repo/src/file");
  files.addLink("/home", "/data");
  EXPECT_EQ(rootsOf(roots, "/home/repo/src/file"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/home/repo"), Indexes{0});
}

TEST_F(RootFinderTest, TheParentOfARootIsNotInItThoughALinkLeadsThere) {
  const std::vector<URL> roots = {files.addFolder("/a/repo")};
  files.addFile("/a/file");
  files.addLink("/a/repo/up", "/");
  EXPECT_EQ(rootsOf(roots, "/a/repo/up"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/a/repo/up/a"), Indexes{});
  EXPECT_EQ(rootsOf(roots, "/a/repo/up/a/repo"), Indexes{0});
}

TEST_F(RootFinderTest, AFileIsNobodysParent) {
  const std::vector<URL> roots = {files.addFile("/a/file")};
  EXPECT_EQ(rootsOf(roots, "/a/file"), Indexes{0});
  EXPECT_EQ(rootsOf(roots, "/a/file/below"), Indexes{});
}

TEST_F(RootFinderTest, AMissingRootHoldsOnlyItsVeryObject) {
  const URL gone = URL::fileURLWithPath("/gone");
  RootFinder finder({gone}, files);
  EXPECT_EQ(finder.firstRootOf(gone), 0U);
  EXPECT_EQ(finder.firstRootOf(URL::fileURLWithPath("/gone")), std::nullopt);
  EXPECT_EQ(finder.firstRootOf(URL::fileURLWithPath("/gone/file")), std::nullopt);
}

TEST_F(RootFinderTest, AUrlThatIsNoFileIsInNoRoot) {
  const std::vector<URL> roots = {files.addFolder("/a")};
  RootFinder finder(roots, files);
  EXPECT_EQ(finder.firstRootOf(*URL::fromString("https://host/a")), std::nullopt);
}

TEST_F(RootFinderTest, ManyItemsOfOneFolderCostOneLookEach) {
  const std::vector<URL> roots = {files.addFolder("/a/repo"), files.addFolder("/b/repo")};
  for (int item = 0; item < 100; ++item) files.addFile("/a/repo/src/" + std::to_string(item));
  files.forgetCounts();
  const MemoFileSystem memo(files);
  RootFinder finder(roots, memo);
  for (int item = 0; item < 100; ++item) {
    const URL url = URL::fileURLWithPath("/a/repo/src/" + std::to_string(item));
    EXPECT_EQ(finder.firstRootOf(url), 0U);
  }
  // The items; the two roots; the folder; what is above it: /a/repo is a root, /a and / are not.
  EXPECT_EQ(files.lookUps(), 100U + 2U + 1U + 2U);
}

// Whatever the tree: the same answers as asking each root in turn. The tree has links up, down and
// in circles, files where folders could be, and holes.
TEST_F(RootFinderTest, AgreesWithAskingEachRoot) {
  std::mt19937 random(20);
  const auto pick = [&](std::size_t count) { return random() % count; };
  for (int round = 0; round < 40; ++round) {
    FakeFileSystem tree(events);
    std::vector<std::string> folders = {""};
    std::vector<std::string> paths = {"/"};
    for (int item = 0; item < 25; ++item) {
      const std::string path =
          folders[pick(folders.size())] + "/" + std::string(1, static_cast<char>('a' + pick(4)));
      switch (pick(4)) {
        case 0:
          tree.addFile(path);
          break;
        case 1:
          tree.addLink(path, paths[pick(paths.size())]);
          folders.push_back(path);
          break;
        default:
          tree.addFolder(path);
          folders.push_back(path);
      }
      paths.push_back(path);
      paths.push_back(path + "/a/b");
    }
    std::vector<URL> roots;
    for (int root = 0; root < 6; ++root)
      roots.push_back(URL::fileURLWithPath(paths[pick(paths.size())]));
    const MemoFileSystem memo(tree);
    RootFinder finder(roots, memo);
    for (const std::string& path : paths) {
      const URL url = URL::fileURLWithPath(path);
      Indexes wanted;
      for (std::size_t root = 0; root < roots.size(); ++root)
        if (roots[root].isEqual(url, tree) || roots[root].isParentOfUrl(url, tree))
          wanted.push_back(root);
      EXPECT_EQ(finder.rootsOf(url), wanted) << round << ": " << path;
    }
  }
}

}  // namespace
}  // namespace kelpie
