#include "menus/ItemTitle.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "MenuFixture.h"

namespace kelpie {
namespace {

// The suffix exists once a repository has been made.
class ItemTitle : public testing::Test {
 protected:
  static std::string nameOf(std::string_view path) {
    return displayName(URL::fileURLWithPath(path));
  }

  MenuFixture fixture_;
};

TEST_F(ItemTitle, NameOfAnItem) {
  struct Case {
    const char* why;
    std::string_view path;
    std::string_view want;
  };
  const Case cases[] = {
      {"the last component of the path", "/repo/src/a.txt", "a.txt"},
      {"a placeholder bears the deleted item's name", "/repo/b.txt \x0e.kelpieDeleted", "b.txt"},
      {"nothing but the suffix leaves no name", "/repo/ \x0e.kelpieDeleted", ""},
      {"only one suffix is cut, and a control character shows",
       "/repo/c \x0e.kelpieDeleted \x0e.kelpieDeleted", "c \xef\xbf\xbd.kelpieDeleted"},
      {"the suffix counts at the end only", "/repo/d \x0e.kelpieDeleted.txt",
       "d \xef\xbf\xbd.kelpieDeleted.txt"},
      {"without the control character it is a name like any other", "/repo/e .kelpieDeleted",
       "e .kelpieDeleted"},
      {"a suffix of a folder above is not looked at", "/repo/f \x0e.kelpieDeleted/g", "g"},
      {"UTF-8 stays", "/repo/\xc3\xa4\xe2\x82\xac", "\xc3\xa4\xe2\x82\xac"},
      {"each byte that is not UTF-8 shows", "/repo/h\xff\xfei", "h\xef\xbf\xbd\xef\xbf\xbdi"},
      {"so it does in a placeholder's name", "/repo/\xff \x0e.kelpieDeleted", "\xef\xbf\xbd"},
      {"the root", "/", "/"},
  };
  for (const Case& c : cases) EXPECT_EQ(nameOf(c.path), c.want) << c.why;
}

TEST_F(ItemTitle, OneItemIsNamedSeveralAreCounted) {
  struct Case {
    const char* why;
    Object urls;
    std::string_view want;
  };
  const Case cases[] = {
      {"no item", Objects{}, "Stash Files…"},
      {"no list", Object(), "Stash Files…"},
      {"one item", MenuFixture::list({"/repo/a.txt"}), "Stash \"a.txt\"…"},
      {"two items", MenuFixture::list({"/repo/a", "/repo/b"}), "Stash 2 Files…"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(titleForItems("Stash \"%@\"…", "Stash %lu Files…", "Stash Files…", c.urls), c.want)
        << c.why;
  }
}

TEST_F(ItemTitle, ANameIsNoFormat) {
  for (const std::string_view name : {"%@", "%lu", "%s%n%d", "100%", "%%", "%1$@"}) {
    const Object urls = MenuFixture::list({"/repo/" + std::string(name)});
    EXPECT_EQ(titleForItems("Stage \"%@\"", "Stage %lu Files", "Stage", urls),
              "Stage \"" + std::string(name) + "\"");
  }
}

TEST_F(ItemTitle, EveryItemCounts) {
  EXPECT_EQ(titleForItems("", "%lu Files", "", Objects(100'000, URL::fileURLWithPath("/a"))),
            "100000 Files");
}

}  // namespace
}  // namespace kelpie
