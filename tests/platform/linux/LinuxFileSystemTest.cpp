#include "platform/linux/LinuxFileSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "foundation/KPExtensions.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

URL fileAt(std::string_view path) { return URL::fileURLWithPath(path, false); }

class LinuxFileSystemTest : public testing::Test {
 protected:
  ResourceValues valuesOf(std::string_view path) const {
    return files.resourceValues(fileAt(path));
  }
  std::set<std::string> contents(std::string_view path) const {
    std::set<std::string> paths;
    for (const URL& url : files.contentsOfDirectory(fileAt(path))) paths.insert(url.path());
    return paths;
  }

  TemporaryFolder folder;
  LinuxFileSystem files;
};

// -- Identity ------------------------------------------------------------------------------------

TEST_F(LinuxFileSystemTest, AnIdentifierIsDeviceAndInodeInLittleEndianArchivedAsData) {
  const std::string path = folder.addFile("file");
  struct stat status = {};
  ASSERT_EQ(::lstat(path.c_str(), &status), 0);
  Bytes want;
  for (const std::uint64_t number : {std::uint64_t{status.st_dev}, std::uint64_t{status.st_ino}})
    for (unsigned shift = 0; shift < 64; shift += 8)
      want.push_back(static_cast<std::uint8_t>(number >> shift));
  const auto identifier = valuesOf(path).identifier;
  ASSERT_TRUE(identifier);
  EXPECT_TRUE(std::ranges::equal(identifier->bytes(), want));
  EXPECT_EQ(identifier->toObject().kind(), Object::Kind::Data);
  EXPECT_EQ(identifier->toObject().data(), want);
}

TEST_F(LinuxFileSystemTest, ALinkIsItselfAndNotItsTarget) {
  const std::string target = folder.addFolder("target.app");
  const std::string link = folder.addLink("link.app", "target.app");
  const ResourceValues values = valuesOf(link);
  EXPECT_TRUE(values.isSymbolicLink);
  EXPECT_FALSE(values.isDirectory);
  EXPECT_FALSE(values.isPackage);
  EXPECT_NE(values.identifier, valuesOf(target).identifier);
  const std::string dangling = folder.addLink("dangling", "nothing");
  EXPECT_TRUE(valuesOf(dangling).identifier) << "a link that leads nowhere is there itself";
}

TEST_F(LinuxFileSystemTest, TwoNamesOfOneFileHaveOneIdentifier) {
  const std::string path = folder.addFile("file");
  ASSERT_EQ(::link(path.c_str(), (folder / "other").c_str()), 0);
  EXPECT_EQ(valuesOf(path).identifier, valuesOf(folder / "other").identifier);
}

TEST_F(LinuxFileSystemTest, WhatIsNotThereOrNoFileHasNoValues) {
  const auto web = URL::fromString("https://example.org/x");
  ASSERT_TRUE(web);
  const URL cases[] = {fileAt(folder / "missing"), fileAt(folder / "missing/deeper"), *web,
                       fileAt(std::string_view("/tmp\0/x", 7))};
  for (const URL& url : cases) {
    EXPECT_EQ(files.resourceValues(url).identifier, std::nullopt) << url.absoluteString();
    EXPECT_EQ(files.localizedName(url), std::nullopt);
    EXPECT_EQ(files.fileReferenceUrl(url), std::nullopt);
    EXPECT_TRUE(files.contentsOfDirectory(url).empty());
  }
}

TEST_F(LinuxFileSystemTest, AFileReferenceURLIsTheResolvedPath) {
  const std::string real = folder.addFolder("real/inner");
  folder.addLink("link", "real");
  EXPECT_EQ(files.fileReferenceUrl(fileAt(folder / "link/inner"))->path(), real);
  EXPECT_EQ(files.fileReferenceUrl(fileAt(folder / "link/../real/./inner"))->path(), real);
  EXPECT_EQ(files.fileReferenceUrl(fileAt(folder / "link/missing")), std::nullopt);
}

// -- Kinds ---------------------------------------------------------------------------------------

TEST_F(LinuxFileSystemTest, NoDirectoryIsAPackage) {
  for (const char* name : {"a.app", "B.APP", "notes.key", "a.bundle", "app", ".app", "a."}) {
    const ResourceValues values = valuesOf(folder.addFolder(name));
    EXPECT_TRUE(values.isDirectory) << name;
    EXPECT_FALSE(values.isPackage) << name;
  }
}

// -- Paths ---------------------------------------------------------------------------------------

TEST_F(LinuxFileSystemTest, TheParentIsThePathWithoutItsLastComponentWhateverExists) {
  struct Case {
    const char* path;
    const char* parent;
  };
  const Case cases[] = {
      {"/nowhere/at/all", "/nowhere/at"}, {"/nowhere", "/"}, {"/a/b/", "/a"}, {"/a/\xFF", "/a"}};
  for (const Case& c : cases)
    EXPECT_EQ(files.parentUrl(fileAt(c.path))->path(), c.parent) << c.path;
  EXPECT_EQ(files.parentUrl(fileAt("/")), std::nullopt) << "the root has none";
}

TEST_F(LinuxFileSystemTest, TheParentOfWhatIsBelowALinkIsTheLink) {
  folder.addFolder("real");
  folder.addLink("link", "real");
  EXPECT_EQ(files.parentUrl(fileAt(folder / "link/x"))->path(), folder / "link");
}

TEST_F(LinuxFileSystemTest, NamesAreBytesAndSurviveTheWayThroughAURL) {
  for (const std::string name :
       {"plain", "blank and %", "\xFF\xFE", "\xC3\xA4", "new\nline", "?#"}) {
    const std::string path = folder.addFile(name);
    const auto identifier = valuesOf(path).identifier;
    ASSERT_TRUE(identifier) << name;
    const auto read = URL::fromString(fileAt(path).absoluteString());
    ASSERT_TRUE(read) << name;
    EXPECT_EQ(read->path(), path);
    EXPECT_EQ(files.resourceValues(*read).identifier, identifier);
  }
}

TEST_F(LinuxFileSystemTest, TheNameIsTheLastComponentWithBytesThatAreNotUtf8Marked) {
  EXPECT_EQ(files.localizedName(fileAt(folder.addFile("a name.txt"))), "a name.txt");
  EXPECT_EQ(files.localizedName(fileAt(folder.addFile("a\xFF"))), "a\xEF\xBF\xBD");
  EXPECT_EQ(files.icon(fileAt(folder.path())), std::nullopt);
}

TEST_F(LinuxFileSystemTest, TheContentsOfAFolderAreItsItemsHiddenOnesIncluded) {
  folder.addFile("inside/file");
  folder.addFile("inside/.hidden");
  folder.addFile("inside/sub/deeper");
  folder.addFile("inside/\xFF");
  folder.addLink("link", "inside");
  const auto names = [](const std::string& base) {
    return std::set<std::string>{base + "/file", base + "/.hidden", base + "/sub", base + "/\xFF"};
  };
  EXPECT_EQ(contents(folder / "inside"), names(folder / "inside"));
  EXPECT_EQ(contents(folder / "link"), names(folder / "link")) << "under the path that was asked";
  EXPECT_EQ(contents(folder / "inside/file"), std::set<std::string>());
}

TEST_F(LinuxFileSystemTest, WhatIsNoFileURLCannotBeWalked) {
  int errors = 0;
  const auto walk =
      files.enumerator(*URL::fromString("https://example.org/"),
                       [&](const std::string&, const Error&) { return ++errors > 0; });
  ASSERT_TRUE(walk);
  EXPECT_EQ(walk->next(), nullptr);
  EXPECT_EQ(errors, 1);
}

}  // namespace
}  // namespace kelpie
