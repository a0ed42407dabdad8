#include "platform/linux/Bookmark.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "archive/PropertyList.h"
#include "foundation/Dictionary.h"
#include "platform/linux/FileIdentity.h"
#include "platform/linux/LinuxFileSystem.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

Bytes propertyList(const Object& value) { return PropertyList::write(value).value(); }

Object identifierOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0);
  return fileIdentifier(status).toObject();
}

TEST(Bookmark, IsAPropertyListOfPathAndIdentifier) {
  const TemporaryFolder folder;
  const Object values = PropertyList::read(Bookmark::make(folder.path()).value());
  EXPECT_EQ(values.size(), 2U);
  EXPECT_EQ(values["path"].string(), folder.path());
  EXPECT_EQ(values["identifier"].data(), identifierOf(folder.path()).data());
}

TEST(Bookmark, ResolvesToThePathWhereSomethingExists) {
  const TemporaryFolder folder;
  const LinuxFileSystem files;
  const BookmarkResolution found = files.resolveBookmark(Bookmark::make(folder.path()).value());
  ASSERT_TRUE(found.url);
  EXPECT_EQ(found.url->path(), folder.path());
  EXPECT_FALSE(found.isStale);
  EXPECT_FALSE(found.error);
}

TEST(Bookmark, IsStaleWhenAnotherItemHasTakenThePlace) {
  const TemporaryFolder folder;
  const std::string path = folder.addFile("item");
  const Bytes bookmark = Bookmark::make(path).value();
  ASSERT_EQ(::rename(path.c_str(), (folder / "elsewhere").c_str()), 0);
  folder.addFile("item");
  const BookmarkResolution found = Bookmark::resolve(bookmark);
  ASSERT_TRUE(found.url);
  EXPECT_EQ(found.url->path(), path);
  EXPECT_TRUE(found.isStale);
  EXPECT_FALSE(found.error);
}

TEST(Bookmark, NothingThereIsCode260) {
  const TemporaryFolder folder;
  const std::string path = folder.addFile("item");
  const Bytes bookmark = Bookmark::make(path).value();
  ASSERT_EQ(::unlink(path.c_str()), 0);
  EXPECT_EQ(Bookmark::make(path), std::nullopt) << "and nothing can be bookmarked";
  const BookmarkResolution found = Bookmark::resolve(bookmark);
  EXPECT_FALSE(found.url);
  ASSERT_TRUE(found.error);
  EXPECT_EQ(found.error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(found.error->code, 260);
  EXPECT_NE(found.error->userInfo["NSLocalizedDescription"].stringValue(), "");
}

TEST(Bookmark, WhatIsNoSuchDictionaryIsCode259) {
  const TemporaryFolder folder;
  const Object identifier = identifierOf(folder.path());
  const Bytes whole = Bookmark::make(folder.path()).value();
  struct Case {
    const char* why;
    Bytes bytes;
  };
  const Case cases[] = {
      {"nothing at all", {}},
      {"other bytes", {'b', 'o', 'o', 'k'}},
      {"cut off", Bytes(whole.begin(), whole.end() - 1)},
      {"an array", propertyList(Objects{Object(folder.path()), identifier})},
      {"no path", propertyList(Dictionary{{"identifier", identifier}})},
      {"no identifier", propertyList(Dictionary{{"path", folder.path()}})},
      {"a path of another kind", propertyList(Dictionary{{"path", 1}, {"identifier", identifier}})},
      {"an identifier of another kind",
       propertyList(Dictionary{{"path", folder.path()}, {"identifier", "text"}})},
      {"a relative path",
       propertyList(Dictionary{{"path", "relative"}, {"identifier", identifier}})},
      {"an empty path", propertyList(Dictionary{{"path", ""}, {"identifier", identifier}})},
      {"a NUL in the path",
       propertyList(Dictionary{{"path", std::string("/tmp\0", 5)}, {"identifier", identifier}})},
  };
  for (const Case& c : cases) {
    const BookmarkResolution found = Bookmark::resolve(c.bytes);
    EXPECT_FALSE(found.url) << c.why;
    ASSERT_TRUE(found.error) << c.why;
    EXPECT_EQ(found.error->domain, "NSCocoaErrorDomain") << c.why;
    EXPECT_EQ(found.error->code, 259) << c.why;
  }
}

TEST(Bookmark, APathThatIsNotUtf8IsHeldAsData) {
  const TemporaryFolder folder;
  const std::string path = folder.addFolder("not utf8 \xFF");
  const Bytes bookmark = Bookmark::make(path).value();
  EXPECT_EQ(PropertyList::read(bookmark)["path"].kind(), Object::Kind::Data);
  EXPECT_EQ(Bookmark::resolve(bookmark).url->path(), path);
}

}  // namespace
}  // namespace kelpie
