#include "cli/text/FilePath.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace kelpie::cli {
namespace {

TEST(FilePath, OperandsNameItemsWithoutLinksAboveThem) {
  TemporaryFolder folder;
  folder.addFile("real/a.txt");
  folder.addLink("link", "real");
  folder.addLink("real/loop", "loop");
  const std::string real = folder / "real";
  struct Case {
    const char* why;
    std::string operand;
    std::string path;
    bool exists;
    bool isFolder;
  };
  const Case cases[] = {
      {"a file", real + "/a.txt", real + "/a.txt", true, false},
      {"a folder", real + "/", real, true, true},
      {"a link to a folder", folder / "link", real, true, true},
      {"a file behind a link", folder / "link/a.txt", real + "/a.txt", true, false},
      {"dots", real + "/../link/./a.txt", real + "/a.txt", true, false},
      {"a link to itself", real + "/loop", real + "/loop", true, false},
      {"nothing", real + "/gone", real + "/gone", false, false},
      {"nothing in nothing", real + "/gone/b", real + "/gone/b", false, false},
      {"the root", "/", "/", true, true}};
  for (const Case& c : cases) {
    const FilePath::Place place = FilePath::locate(c.operand);
    EXPECT_EQ(place.path, c.path) << c.why;
    EXPECT_EQ(place.exists, c.exists) << c.why;
    EXPECT_EQ(place.isFolder, c.isFolder) << c.why;
  }
}

TEST(FilePath, NamesAreSortedAndComplete) {
  TemporaryFolder folder;
  folder.addFile("b");
  folder.addFile(".a");
  folder.addFolder("C");
  EXPECT_EQ(FilePath::namesIn(folder.path()), (std::vector<std::string>{".a", "C", "b"}));
  EXPECT_FALSE(FilePath::namesIn(folder / "gone"));
}

TEST(FilePath, WithinIsAQuestionOfComponents) {
  EXPECT_TRUE(FilePath::isWithin("/a/b", "/a"));
  EXPECT_TRUE(FilePath::isWithin("/a", "/a"));
  EXPECT_TRUE(FilePath::isWithin("/a", "/"));
  EXPECT_FALSE(FilePath::isWithin("/ab", "/a"));
  EXPECT_FALSE(FilePath::isWithin("/", "/a"));
}

TEST(FilePath, UrlsHoldAnyBytes) {
  EXPECT_EQ(FilePath::urlOf("/a b/\xff%/ä", false), "file:///a%20b/%FF%25/%C3%A4");
  EXPECT_EQ(FilePath::urlOf("/a", true), "file:///a/");
}

TEST(FilePath, Parents) {
  EXPECT_EQ(FilePath::parentOf("/a/b"), "/a");
  EXPECT_EQ(FilePath::parentOf("/a"), "/");
  EXPECT_EQ(FilePath::parentOf("/"), "/");
  EXPECT_EQ(FilePath::join("/", "a"), "/a");
  EXPECT_EQ(FilePath::join("/a", "b"), "/a/b");
}

}  // namespace
}  // namespace kelpie::cli
