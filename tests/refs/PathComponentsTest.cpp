#include "refs/PathComponents.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace kelpie {
namespace {

using Components = std::vector<std::string_view>;

struct Case {
  const char* why;
  std::string_view name;
  Components components;
  std::string_view last;
};

const Case kCases[] = {
    {"nothing", "", {}, ""},
    {"one component", "main", {"main"}, "main"},
    {"several", "feature/a/b", {"feature", "a", "b"}, "b"},
    {"a slash at the end is nothing", "x/", {"x"}, "x"},
    {"slashes at the end are nothing", "a/x//", {"a", "x"}, "x"},
    {"doubled slashes are one", "a//b", {"a", "b"}, "b"},
    {"a leading slash is a component", "/a", {"/", "a"}, "a"},
    {"leading slashes are one component", "//a", {"/", "a"}, "a"},
    {"the root", "/", {"/"}, "/"},
    {"nothing but slashes", "///", {"/"}, "/"},
    {"other scripts", "feature/\u65e5\u672c", {"feature", "\u65e5\u672c"}, "\u65e5\u672c"},
};

TEST(PathComponents, AreTakenOneByOne) {
  for (const Case& c : kCases) {
    Components components;
    std::string_view rest = c.name;
    while (!rest.empty()) components.push_back(cutFirstPathComponent(rest));
    EXPECT_EQ(components, c.components) << c.why;
    EXPECT_EQ(cutFirstPathComponent(rest), "") << c.why;
  }
}

TEST(PathComponents, LastComponent) {
  for (const Case& c : kCases) EXPECT_EQ(lastPathComponent(c.name), c.last) << c.why;
}

}  // namespace
}  // namespace kelpie
