#include "status/PathSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

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

TEST(PathSet, HoldsEachOfManyPathsOnce) {
  PathSet set;
  for (int time = 0; time < 2; ++time) {
    for (std::size_t i = 0; i < 1000; ++i) {
      set.add("/r/" + std::to_string(i));
      EXPECT_EQ(set.size(), time == 0 ? i + 1 : 1000U);
    }
  }
  for (std::size_t i = 0; i < 1000; ++i) EXPECT_TRUE(set.contains("/r/" + std::to_string(i)));
  EXPECT_FALSE(set.contains("/r/1000"));
}

TEST(PathSet, PathsAreBytes) {
  PathSet set;
  const std::string path("/r/\xFF\0x", 6);
  set.add(path);
  EXPECT_EQ(set.paths(), std::vector<std::string>{path});
}

}  // namespace
}  // namespace kelpie
