#include "status/LookupCache.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "status/IgnoredUrls.h"
#include "support/EventLog.h"
#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class LookupCacheTest : public testing::Test {
 protected:
  LookupCache cacheWith(const std::optional<URL>& git) {
    return LookupCache({URL::fileURLWithPath("/r", true), git, std::make_shared<IgnoredUrls>()},
                       files);
  }
  bool isGitItem(LookupCache& cache, const URL& url) {
    return cache.isGitItem(url, url.identifier(files));
  }

  EventLog events;
  FakeFileSystem files{events};
};

TEST_F(LookupCacheTest, TheRootAndWhatLiesInItAreInTheRoot) {
  files.addFile("/r/sub/a");
  files.addFile("/other/a");
  LookupCache cache = cacheWith(std::nullopt);
  const auto isInRoot = [&](std::string_view path) {
    const URL url = URL::fileURLWithPath(path);
    return cache.isInRoot(url, url.identifier(files));
  };
  for (const char* path : {"/r", "/r/sub", "/r/sub/a"}) EXPECT_TRUE(isInRoot(path)) << path;
  for (const char* path : {"/other", "/other/a"}) EXPECT_FALSE(isInRoot(path)) << path;
  EXPECT_TRUE(
      cache.isInRoot(URL::fileURLWithPath("/link"), URL::fileURLWithPath("/r").identifier(files)))
      << "the same folder by another path";
}

TEST_F(LookupCacheTest, TheGitDirectoryAndWhatLiesInItAreGitItems) {
  files.addFile("/r/.git/objects/aa");
  files.addFile("/r/a");
  LookupCache cache = cacheWith(URL::fileURLWithPath("/r/.git", true));
  for (const char* path : {"/r/.git", "/r/.git/objects", "/r/.git/objects/aa"})
    EXPECT_TRUE(isGitItem(cache, URL::fileURLWithPath(path))) << path;
  for (const char* path : {"/r", "/r/a"})
    EXPECT_FALSE(isGitItem(cache, URL::fileURLWithPath(path))) << path;
  EXPECT_TRUE(cache.isGitItem(URL::fileURLWithPath("/elsewhere/.git"),
                              URL::fileURLWithPath("/r/.git").identifier(files)))
      << "the same folder by another path";
}

TEST_F(LookupCacheTest, TheGitDirectoryIsLookedAtOnce) {
  files.addFile("/r/.git/HEAD");
  LookupCache cache = cacheWith(URL::fileURLWithPath("/r/.git", true));
  for (int i = 0; i < 20; ++i)
    EXPECT_FALSE(cache.isGitItem(URL::fileURLWithPath("/r/" + std::to_string(i)), std::nullopt));
  EXPECT_EQ(files.lookUps("/r/.git"), 1U);
}

// Two items without a file are not the same for that.
TEST_F(LookupCacheTest, WithoutAFileOnlyTheVeryUrlIsTheGitDirectory) {
  files.addFolder("/r");
  const URL git = URL::fileURLWithPath("/r/.git", true);
  LookupCache cache = cacheWith(git);
  EXPECT_TRUE(isGitItem(cache, git));
  EXPECT_FALSE(isGitItem(cache, URL::fileURLWithPath("/r/.git", true)));
  EXPECT_FALSE(isGitItem(cache, URL::fileURLWithPath("/r/gone")));
}

TEST_F(LookupCacheTest, OtherUrlsAreToldApartByTheirText) {
  files.addFile("/r/.git/HEAD");
  const URL git = *URL::fromString("https://host/r/.git");
  LookupCache cache = cacheWith(git);
  EXPECT_TRUE(isGitItem(cache, *URL::fromString("https://host/r/.git")));
  EXPECT_FALSE(isGitItem(cache, *URL::fromString("https://host/r/.git/x")));
  EXPECT_FALSE(isGitItem(cache, URL::fileURLWithPath("/r/.git/HEAD")));
}

TEST_F(LookupCacheTest, WithoutAGitDirectoryNothingIsAGitItem) {
  files.addFile("/r/.git/HEAD");
  LookupCache cache = cacheWith(std::nullopt);
  EXPECT_FALSE(isGitItem(cache, URL::fileURLWithPath("/r/.git")));
}

}  // namespace
}  // namespace kelpie
