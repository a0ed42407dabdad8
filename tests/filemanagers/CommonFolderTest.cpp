#include "common/CommonFolder.h"

#include <gtest/gtest.h>

namespace kelpie::filemanagers {
namespace {

TEST(CommonFolder, IsThatOfAllOrMissing) {
  struct Case {
    const char* why;
    std::vector<HostClient::Place> places;
    std::optional<std::string> want;
  };
  const Case cases[] = {
      {"one item", {{"/a/one", false}}, "/a"},
      {"two of one folder", {{"/a/one", false}, {"/a/two", true}}, "/a"},
      {"two of different folders", {{"/a/one", false}, {"/b/two", false}}, std::nullopt},
      {"a folder and an item in it", {{"/a", true}, {"/a/one", false}}, std::nullopt},
      {"the root lies in no folder", {{"/", true}}, std::nullopt},
      {"nothing", {}, std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(commonFolder(c.places), c.want) << c.why;
}

}  // namespace
}  // namespace kelpie::filemanagers
