#include "common/AskedPaths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "support/TemporaryFolder.h"

namespace kelpie::filemanagers {
namespace {

TEST(AskedPaths, AnItemIsNamedByThePlaceOfItsFolder) {
  std::map<std::string, std::string> links = {
      {"/link", "/repo"}, {"/top", "/"}, {"/repo", "/repo"}};
  AskedPaths paths([&](const std::string& folder) -> std::optional<std::string> {
    const auto found = links.find(folder);
    return found == links.end() ? std::nullopt : std::optional(found->second);
  });
  EXPECT_EQ(paths.ofItem("/repo/a"), "/repo/a");
  EXPECT_EQ(paths.ofItem("/link/a"), "/repo/a");
  EXPECT_EQ(paths.ofItem("/link/\xff"), "/repo/\xff") << "names are bytes";
  EXPECT_EQ(paths.ofItem("/top/a"), "/a");
  EXPECT_EQ(paths.ofItem("/gone/a"), "/gone/a");
  EXPECT_EQ(paths.ofItem("/"), "/");
  EXPECT_EQ(paths.ofFolder("/link"), "/repo");
}

TEST(AskedPaths, AFolderIsLookedAtOnceUntilItIsForgotten) {
  int calls = 0;
  AskedPaths paths([&](const std::string& folder) {
    ++calls;
    return std::optional(folder + std::to_string(calls));
  });
  EXPECT_EQ(paths.ofItem("/f/a"), "/f1/a");
  EXPECT_EQ(paths.ofItem("/f/b"), "/f1/b");
  paths.forget("/f");
  EXPECT_EQ(paths.ofItem("/f/b"), "/f2/b");
}

TEST(AskedPaths, KeepsNoMoreFoldersThanItMay) {
  std::map<std::string, int> calls;
  AskedPaths paths([&](const std::string& folder) {
    ++calls[folder];
    return std::optional(folder);
  });
  paths.ofFolder("/first");
  for (std::size_t i = 0; i < AskedPaths::kMaximumFolders; ++i)
    paths.ofFolder("/" + std::to_string(i));
  paths.ofFolder("/first");
  EXPECT_EQ(calls["/first"], 2);
}

TEST(AskedPaths, TheItemItselfIsNotResolved) {
  const TemporaryFolder folder;
  const std::string real = std::filesystem::canonical(folder.addFolder("real"));
  std::filesystem::create_directory_symlink(real, folder / "link");
  folder.addFolder("real/inner");
  std::filesystem::create_directory_symlink("inner", real + "/loose");
  AskedPaths paths;
  EXPECT_EQ(paths.ofItem((folder / "link") + "/loose"), real + "/loose");
  EXPECT_EQ(paths.ofFolder((folder / "link") + "/loose"), real + "/inner");
}

}  // namespace
}  // namespace kelpie::filemanagers
