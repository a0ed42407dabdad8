#include "status/DeletedUrls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kelpie {
namespace {

std::vector<std::string> withPrefix(const DeletedUrls& urls, std::string_view prefix) {
  std::vector<std::string> paths;
  urls.forEachWithPrefix(prefix, [&paths](std::string_view path) { paths.emplace_back(path); });
  std::sort(paths.begin(), paths.end());
  return paths;
}

TEST(DeletedUrls, ThePrefixIsPlainText) {
  const DeletedUrls urls(
      UrlList(Object(Objects{URL::fileURLWithPath("/r/ab/x"), URL::fileURLWithPath("/r/b"),
                             URL::fileURLWithPath("/r/a"), URL::fileURLWithPath("/r/a/x"),
                             URL::fileURLWithPath("/r/a"), URL::fileURLWithPath("/r/A")})));
  EXPECT_EQ(withPrefix(urls, "/r/a"),
            (std::vector<std::string>{"/r/a", "/r/a", "/r/a/x", "/r/ab/x"}));
  EXPECT_EQ(withPrefix(urls, "/r/a/"), std::vector<std::string>{"/r/a/x"});
  EXPECT_EQ(withPrefix(urls, "/s"), std::vector<std::string>{});
  EXPECT_EQ(withPrefix(urls, "").size(), 6U);
}

}  // namespace
}  // namespace kelpie
