#include "status/PathSet.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kelpie {
namespace {

TEST(PathSet, HoldsEachPathOnce) {
  PathSet set;
  set.add("/r/a");
  set.add("/r/b");
  set.add("/r/a");
  EXPECT_EQ(set.size(), 2U);
  EXPECT_TRUE(set.contains("/r/a"));
  EXPECT_FALSE(set.contains("/r"));
  std::vector<std::string> paths = set.paths();
  std::sort(paths.begin(), paths.end());
  EXPECT_EQ(paths, (std::vector<std::string>{"/r/a", "/r/b"}));
}

TEST(PathSet, PathsAreBytes) {
  PathSet set;
  const std::string path("/r/\xFF\0x", 6);
  set.add(path);
  EXPECT_EQ(set.paths(), std::vector<std::string>{path});
}

}  // namespace
}  // namespace kelpie
