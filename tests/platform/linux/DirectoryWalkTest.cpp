#include "platform/linux/DirectoryWalk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>

#include "foundation/Error.h"
#include "linux/base/UniqueFd.h"
#include "platform/linux/FileIdentity.h"
#include "platform/linux/MountTable.h"
#include "support/TemporaryFolder.h"
#include "support/linux/FullTable.h"

namespace kelpie {
namespace {

using Identity = FolderListing::Identity;

struct Seen {
  bool isDirectory;
  std::optional<FileIdentifier> identifier;
  friend bool operator==(const Seen&, const Seen&) = default;
};

// All that a walk gives, by path.
std::map<std::string, Seen> walkAll(const std::string& path, Identity identity) {
  std::map<std::string, Seen> seen;
  DirectoryWalk walk(
      path,
      [](const std::string& where, const Error& error) {
        ADD_FAILURE() << where << " " << error.code;
        return true;
      },
      identity);
  while (const DirectoryEntry* entry = walk.next())
    EXPECT_TRUE(seen.emplace(entry->path, Seen{entry->isDirectory, entry->identifier}).second)
        << entry->path << " came twice";
  return seen;
}

void addTree(const TemporaryFolder& folder) {
  folder.addFile("a");
  folder.addFile(".git/HEAD");
  folder.addFile("deep/er/est/file");
  folder.addFile("P.app/Contents/x");
  folder.addFolder("empty");
  folder.addLink("link", "deep");
  folder.addLink("dangling", "nowhere");
  folder.addFile("\xFF\xFE");
  ASSERT_EQ(::link((folder / "a").c_str(), (folder / "hard").c_str()), 0);
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
}

TEST(DirectoryWalk, MeetsEverythingBelowAndFollowsNoLink) {
  const TemporaryFolder folder;
  addTree(folder);
  std::set<std::string> paths;
  for (const auto& [path, seen] : walkAll(folder.path(), Identity::Listed))
    paths.insert(path.substr(folder.path().size() + 1));
  EXPECT_EQ(paths, (std::set<std::string>{"a", ".git", ".git/HEAD", "deep", "deep/er",
                                          "deep/er/est", "deep/er/est/file", "P.app",
                                          "P.app/Contents", "P.app/Contents/x", "empty", "link",
                                          "dangling", "\xFF\xFE", "hard", "fifo"}));
}

// On the file system of the temporary folder, and on one that vouches for its listings.
TEST(DirectoryWalk, BothWaysToIdentifyItemsGiveWhatLstatSays) {
  for (const char* parent : {"/tmp", "/dev/shm"}) {
    if (::access(parent, W_OK) != 0) continue;
    const TemporaryFolder folder(parent);
    addTree(folder);
    const auto listed = walkAll(folder.path(), Identity::Listed);
    EXPECT_EQ(listed, walkAll(folder.path(), Identity::Looked));
    EXPECT_EQ(listed.size(), 16U);
    for (const auto& [path, seen] : listed) {
      struct stat status = {};
      ASSERT_EQ(::lstat(path.c_str(), &status), 0);
      EXPECT_EQ(seen.identifier, fileIdentifier(status)) << path;
      EXPECT_EQ(seen.isDirectory, S_ISDIR(status.st_mode)) << path;
    }
  }
}

// /dev and /sys are other file systems, with more of them mounted inside.
TEST(DirectoryWalk, MountPointsHaveTheIdentityOfWhatIsMounted) {
  DirectoryWalk walk("/", nullptr);
  int mounted = 0;
  struct stat root = {};
  ASSERT_EQ(::lstat("/", &root), 0);
  while (const DirectoryEntry* entry = walk.next()) {
    walk.skipDescendants();
    struct stat status = {};
    if (::lstat(std::string(entry->path).c_str(), &status) != 0) continue;
    EXPECT_EQ(entry->identifier, fileIdentifier(status)) << entry->path;
    if (status.st_dev != root.st_dev) ++mounted;
  }
  EXPECT_GT(mounted, 0) << "at least /proc is mounted";
}

TEST(DirectoryWalk, ParentsComeBeforeTheirContents) {
  const TemporaryFolder folder;
  folder.addFile("a/b/c/d");
  std::vector<std::string> order;
  DirectoryWalk walk(folder.path(), nullptr);
  while (const DirectoryEntry* entry = walk.next()) order.emplace_back(entry->path);
  EXPECT_EQ(order, (std::vector<std::string>{folder / "a", folder / "a/b", folder / "a/b/c",
                                             folder / "a/b/c/d"}));
}

TEST(DirectoryWalk, DescendantsCanBeSkipped) {
  const TemporaryFolder folder;
  folder.addFile("skip/inner/file");
  folder.addFile("walk/inner");
  std::set<std::string> paths;
  DirectoryWalk walk(folder.path(), nullptr);
  while (const DirectoryEntry* entry = walk.next()) {
    paths.insert(std::string(entry->path.substr(folder.path().size() + 1)));
    if (entry->path.ends_with("/skip")) walk.skipDescendants();
  }
  EXPECT_EQ(paths, (std::set<std::string>{"skip", "walk", "walk/inner"}));
}

TEST(DirectoryWalk, AFolderThatIsNoneAnyMoreIsAnErrorAndTheHandlerDecides) {
  for (const bool goOn : {true, false}) {
    const TemporaryFolder folder;
    folder.addFolder("a/changed");
    folder.addFile("b");
    std::vector<std::string> failures;
    DirectoryWalk walk(folder.path(), [&](const std::string& path, const Error& error) {
      failures.push_back(path + " " + error.domain);
      return goOn;
    });
    std::set<std::string> after;
    bool changed = false;
    while (const DirectoryEntry* entry = walk.next()) {
      if (changed) after.insert(std::string(entry->path));
      if (!entry->path.ends_with("changed")) continue;
      ASSERT_EQ(::rmdir((folder / "a/changed").c_str()), 0);
      folder.addFile("a/changed");
      changed = true;
    }
    EXPECT_EQ(failures, (std::vector<std::string>{folder / "a/changed" + " NSCocoaErrorDomain"}));
    EXPECT_TRUE(goOn || after.empty());
  }
}

TEST(DirectoryWalk, AFolderThatGoesMeanwhileIsEmpty) {
  const TemporaryFolder folder;
  folder.addFile("a/gone/inner");
  folder.addFile("a/stays/inner");
  DirectoryWalk walk(folder.path(), [](const std::string& where, const Error& error) {
    ADD_FAILURE() << where << " " << error.code;
    return true;
  });
  std::set<std::string> paths;
  while (const DirectoryEntry* entry = walk.next()) {
    paths.insert(std::string(entry->path.substr(folder.path().size() + 1)));
    if (!entry->path.ends_with("gone")) continue;
    ASSERT_EQ(::unlink((folder / "a/gone/inner").c_str()), 0);
    ASSERT_EQ(::rmdir((folder / "a/gone").c_str()), 0);
  }
  EXPECT_EQ(paths, (std::set<std::string>{"a", "a/gone", "a/stays", "a/stays/inner"}));
}

TEST(DirectoryWalk, AStartThatIsNoFolderIsAnError) {
  const TemporaryFolder folder;
  int failures = 0;
  const auto count = [&](const std::string&, const Error&) { return ++failures > 0; };
  DirectoryWalk missing(folder / "missing", count);
  EXPECT_EQ(missing.next(), nullptr);
  DirectoryWalk file(folder.addFile("file"), count);
  EXPECT_EQ(file.next(), nullptr);
  EXPECT_EQ(failures, 2);
}

TEST(DirectoryWalk, AStartThatIsALinkIsWalkedUnderItsOwnPath) {
  const TemporaryFolder folder;
  folder.addFile("real/file");
  DirectoryWalk walk(folder.addLink("link", "real"), nullptr);
  const DirectoryEntry* entry = walk.next();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->path, folder / "link/file");
}

TEST(DirectoryWalk, ADeepTreeHoldsNoFilesOpen) {
  const TemporaryFolder folder;
  std::string deep = "d";
  for (int i = 0; i < 100; ++i) deep += "/d";
  folder.addFolder(deep);
  DirectoryWalk walk(folder.path(), nullptr);
  const int before = ::dup(0);
  ::close(before);
  int count = 0;
  while (walk.next() != nullptr) {
    ++count;
    const int now = ::dup(0);
    ::close(now);
    ASSERT_EQ(now, before);
  }
  EXPECT_EQ(count, 101);
}

TEST(MountTable, ReadsMountPointsWithTheirEscapes) {
  EXPECT_EQ(MountTable::mountPoints("22 1 8:1 / / rw - ext4 /dev/a rw\n"
                                    "23 22 0:5 / /with\\040blank\\134 rw - tmpfs t rw\n"
                                    "short line\n"
                                    "24 22 0:6 / /a\\04 rw - tmpfs t rw"),
            (std::vector<std::string>{"/", "/a\\04", "/with blank\\"}));
}

TEST(MountTable, KnowsWhatIsMountedBelowAFolder) {
  EXPECT_TRUE(MountTable::shared().hasMountBelow("/")) << "at least /proc";
  EXPECT_FALSE(MountTable::shared().hasMountBelow("/proc/self/task"));
  const TemporaryFolder folder;
  EXPECT_FALSE(MountTable::shared().hasMountBelow(folder.path()));
}

// Otherwise a folder would have the badge of an empty one until something changes in it.
TEST(DirectoryWalk, WaitsForADescriptorWhenTheProcessHasNoneLeft) {
  const TemporaryFolder folder;
  folder.addFile("a/b");
  std::atomic<pid_t> walker = 0;
  std::atomic<bool> begins = false;
  std::atomic<bool> ended = false;
  std::map<std::string, Seen> seen;
  std::thread thread([&] {
    walker = ::gettid();
    while (!begins) std::this_thread::yield();
    seen = walkAll(folder.path(), Identity::None);
    ended = true;
  });
  while (walker == 0) std::this_thread::yield();
  // It is opened before the table is full.
  const UniqueFd state(::open(("/proc/self/task/" + std::to_string(walker) + "/stat").c_str(),
                              O_RDONLY | O_CLOEXEC));
  const auto sleeps = [&state] {
    std::array<char, 256> text{};
    const ssize_t size = ::pread(state.get(), text.data(), text.size(), 0);
    const std::string_view line(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    return line.find(") S ") != std::string_view::npos;
  };
  {
    const FullTable full;
    begins = true;
    while (!ended && !sleeps()) std::this_thread::yield();
  }
  thread.join();
  EXPECT_EQ(seen.size(), 2U);
}

}  // namespace
}  // namespace kelpie
