#include "agent/git/PathScope.h"

#include <gtest/gtest.h>

namespace kelpie::agent {
namespace {

TEST(PathScope, HoldsThePathsAndWhatIsBelowThem) {
  const std::vector<std::string> paths = {"a", "sub/deep", "-x"};
  const PathScope scope(paths);
  for (const char* path : {"a", "a/b", "a/b/c", "sub/deep", "sub/deep/x", "-x"})
    EXPECT_TRUE(scope.contains(path)) << path;
  for (const char* path : {"", "ab", "sub", "sub/deeper", "b/a", "/a", "sub/x"})
    EXPECT_FALSE(scope.contains(path)) << path;
}

TEST(PathScope, TheRootHoldsEverything) {
  const std::vector<std::string> root = {"a", "."};
  EXPECT_TRUE(PathScope(root).contains("b/c"));
  EXPECT_FALSE(PathScope({}).contains("b/c"));
}

}  // namespace
}  // namespace kelpie::agent
