#include "linux/base/SearchPath.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/EnvironmentVariable.h"

namespace kelpie {
namespace {

TEST(SearchPathTest, KeepsAbsoluteEntriesInTheirOrder) {
  struct Case {
    const char* why;
    const char* path;
    const char* want;
  };
  const Case cases[] = {
      {"nothing to leave out", "/b:/a", "/b:/a"},
      {"the current folder by its name", ".:/a:./bin", "/a"},
      {"the current folder by an empty entry", ":/a::/b:", "/a:/b"},
      {"a folder in the current one", "bin:/a:../bin", "/a"},
      {"what a shell would replace", "~/bin:/a", "/a"},
      {"nothing is left", ".:bin", "/usr/local/bin:/usr/bin:/bin"},
      {"nothing was there", "", "/usr/local/bin:/usr/bin:/bin"},
  };
  for (const Case& each : cases) EXPECT_EQ(SearchPath::absolute(each.path), each.want) << each.why;
}

TEST(SearchPathTest, CleansThatOfTheProcess) {
  const EnvironmentVariable path("PATH", ".:/usr/bin:");
  SearchPath::clean();
  EXPECT_STREQ(std::getenv("PATH"), "/usr/bin");
}

}  // namespace
}  // namespace kelpie
