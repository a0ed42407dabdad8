#include "glib/LocalPath.h"

#include <gtest/gtest.h>

#include "linux/base/GLibPointers.h"

namespace kelpie::filemanagers {
namespace {

std::optional<std::string> pathOfUri(const char* uri) {
  const GObjectPtr<GFile> file(g_file_new_for_uri(uri));
  return localPathOf(file.get());
}

TEST(LocalPath, IsThatOfAFileHere) {
  EXPECT_EQ(pathOfUri("file:///repo/f"), "/repo/f");
  EXPECT_EQ(pathOfUri("file:///repo/a%20folder/"), "/repo/a folder");
  EXPECT_EQ(pathOfUri("file:///"), "/");
}

TEST(LocalPath, IsBytesWhereItIsNotUTF8) {
  EXPECT_EQ(pathOfUri("file:///repo/latin-%E9.txt"), "/repo/latin-\xe9.txt");
}

// These would take a question to another machine, or are not on a disk at all.
TEST(LocalPath, IsMissingForEveryOtherPlace) {
  for (const char* uri : {"sftp://host/repo/f", "smb://host/share/f", "dav://host/f", "trash:///f",
                          "recent:///", "network:///", "computer:///", "x-nemo-desktop:///", ""})
    EXPECT_EQ(pathOfUri(uri), std::nullopt) << uri;
  EXPECT_EQ(localPathOf(nullptr), std::nullopt);
}

}  // namespace
}  // namespace kelpie::filemanagers
