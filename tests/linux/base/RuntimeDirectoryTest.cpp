#include "linux/base/RuntimeDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

mode_t modeOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777U;
}

TEST(RuntimeDirectory, IsBelowTheUsersRuntimeDirectory) {
  const EnvironmentVariable variable("XDG_RUNTIME_DIR", "/run/user/7");
  const RuntimeDirectory runtime;
  EXPECT_EQ(runtime.path(), "/run/user/7/kelpie");
  EXPECT_EQ(runtime.portsFolder(), "/run/user/7/kelpie/ports");
  EXPECT_EQ(runtime.finderSocket(), "/run/user/7/kelpie/finder");
  EXPECT_EQ(runtime.lockFile(), "/run/user/7/kelpie/lock");
}

TEST(RuntimeDirectory, IsATemporaryOneWhenTheUserHasNone) {
  const std::string want = "/tmp/kelpie-" + std::to_string(::getuid());
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative/path"}) {
    const EnvironmentVariable variable("XDG_RUNTIME_DIR", value);
    EXPECT_EQ(RuntimeDirectory().path(), want);
  }
}

TEST(RuntimeDirectory, IsMadeForItsUserAlone) {
  const TemporaryFolder folder;
  const RuntimeDirectory runtime(folder / "kelpie");
  EXPECT_EQ(runtime.prepare(), std::nullopt);
  EXPECT_EQ(modeOf(runtime.path()), 0700U);
  EXPECT_EQ(modeOf(runtime.portsFolder()), 0700U);
  EXPECT_EQ(runtime.prepare(), std::nullopt) << "and taken as it is the next time";
}

TEST(RuntimeDirectory, IsRefusedWhenOthersHaveAccess) {
  const TemporaryFolder folder;
  const RuntimeDirectory runtime(folder / "kelpie");
  ASSERT_EQ(runtime.prepare(), std::nullopt);
  for (const mode_t mode : {0701U, 0710U, 0740U, 0704U, 0755U, 0777U}) {
    ASSERT_EQ(::chmod(runtime.path().c_str(), mode), 0);
    EXPECT_EQ(runtime.prepare(), runtime.path() + " is open to other users") << std::oct << mode;
  }
  ASSERT_EQ(::chmod(runtime.path().c_str(), 0700), 0);
  ASSERT_EQ(::chmod(runtime.portsFolder().c_str(), 0755), 0);
  EXPECT_EQ(runtime.prepare(), runtime.portsFolder() + " is open to other users");
}

TEST(RuntimeDirectory, IsRefusedWhenItIsNoDirectoryOrALinkToOne) {
  const TemporaryFolder folder;
  const RuntimeDirectory file(folder.addFile("file"));
  EXPECT_EQ(file.prepare(), file.path() + " is not a directory");
  folder.addFolder("real");
  const RuntimeDirectory link(folder.addLink("link", "real"));
  EXPECT_EQ(link.prepare(), link.path() + " is not a directory");
}

TEST(RuntimeDirectory, IsRefusedWhenItBelongsToAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  const TemporaryFolder folder;
  const RuntimeDirectory runtime(folder / "kelpie");
  ASSERT_EQ(runtime.prepare(), std::nullopt);
  ASSERT_EQ(::chown(runtime.path().c_str(), 65534, 65534), 0);
  EXPECT_EQ(runtime.prepare(), runtime.path() + " belongs to another user");
}

TEST(RuntimeDirectory, IsRefusedWhenItCannotBeMade) {
  const TemporaryFolder folder;
  const RuntimeDirectory runtime(folder / "missing/kelpie");
  EXPECT_EQ(runtime.prepare(), "cannot make " + runtime.path() + ": No such file or directory");
}

TEST(RuntimeDirectory, OneProcessHoldsTheLock) {
  const TemporaryFolder folder;
  const RuntimeDirectory runtime(folder / "kelpie");
  ASSERT_EQ(runtime.prepare(), std::nullopt);
  RuntimeDirectory::Lock first = runtime.lock();
  EXPECT_TRUE(first.file);
  EXPECT_EQ(modeOf(runtime.lockFile()), 0600U);
  const RuntimeDirectory::Lock second = runtime.lock();
  EXPECT_FALSE(second.file);
  EXPECT_TRUE(second.isHeldByOther);
  EXPECT_EQ(second.problem, std::nullopt);
  first.file.reset();
  EXPECT_TRUE(runtime.lock().file);
}

TEST(RuntimeDirectory, ALockThatCannotBeTakenIsAProblem) {
  const TemporaryFolder folder;
  const RuntimeDirectory runtime(folder / "missing");
  const RuntimeDirectory::Lock lock = runtime.lock();
  EXPECT_FALSE(lock.file);
  EXPECT_FALSE(lock.isHeldByOther);
  EXPECT_EQ(lock.problem, "cannot open " + runtime.lockFile() + ": No such file or directory");
}

}  // namespace
}  // namespace kelpie
