#include "dolphin/LocalUrl.h"

#include <gtest/gtest.h>

namespace kelpie::filemanagers {
namespace {

std::optional<std::string> pathOfUrl(const char* url) {
  return localPathOf(QUrl(QString::fromLatin1(url)));
}

TEST(LocalUrl, IsThePathOfAFileHere) {
  EXPECT_EQ(pathOfUrl("file:///repo/f"), "/repo/f");
  EXPECT_EQ(pathOfUrl("file:///repo/a%20folder//"), "/repo/a folder");
  EXPECT_EQ(pathOfUrl("file:///"), "/");
}

TEST(LocalUrl, IsMissingForEveryOtherPlace) {
  for (const char* url : {"sftp://host/repo/f", "smb://host/share/f", "file://host/share/f",
                          "trash:/f", "remote:/", "desktop:/", "/repo/f", "file:", ""})
    EXPECT_FALSE(pathOfUrl(url).value_or("").starts_with("/repo")) << url;
  for (const char* url : {"sftp://host/repo/f", "smb://host/share/f", "trash:/f", "remote:/", ""})
    EXPECT_EQ(pathOfUrl(url), std::nullopt) << url;
}

// Qt keeps no such name: it stands for no file, and does no harm.
TEST(LocalUrl, OfANameThatIsNotUTF8IsThatOfNoFile) {
  const auto path = pathOfUrl("file:///repo/latin-%E9.txt");
  ASSERT_TRUE(path);
  EXPECT_NE(*path, "/repo/latin-\xe9.txt");
  EXPECT_TRUE(path->starts_with("/repo/latin-"));
}

}  // namespace
}  // namespace kelpie::filemanagers
