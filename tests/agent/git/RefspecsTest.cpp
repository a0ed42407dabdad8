#include "agent/git/Refspecs.h"

#include <gtest/gtest.h>

namespace kelpie::agent {
namespace {

TEST(Refspecs, GoBackFromWhatIsKeptHere) {
  struct Case {
    const char* refspec;
    const char* here;
    const char* there;  // empty: none
  };
  const Case cases[] = {
      {"+refs/heads/*:refs/remotes/o/*", "refs/remotes/o/a/b", "refs/heads/a/b"},
      {"refs/heads/*:refs/remotes/o/*", "refs/remotes/other/a", ""},
      {"+refs/heads/main:refs/remotes/o/main", "refs/remotes/o/main", "refs/heads/main"},
      {"+refs/heads/main:refs/remotes/o/main", "refs/remotes/o/mainly", ""},
      {"refs/heads/x-*-y:refs/remotes/o/*-z", "refs/remotes/o/1-z", "refs/heads/x-1-y"},
      {"refs/heads/*:refs/remotes/o/*", "refs/remotes/o/", ""},
      {"refs/heads/*", "refs/heads/a", ""},
      {"^refs/heads/*:refs/remotes/o/*", "refs/remotes/o/a", ""},
      {"refs/heads/*:refs/remotes/o/one", "refs/remotes/o/one", ""},
      {":", "", ""},
      {"", "refs/remotes/o/a", ""},
  };
  for (const Case& each : cases)
    EXPECT_EQ(nameOnRemote({each.refspec}, each.here).value_or(""), each.there) << each.refspec;
}

TEST(Refspecs, TheFirstThatFitsCounts) {
  EXPECT_EQ(nameOnRemote({"refs/tags/*:refs/t/*", "refs/heads/a:refs/o/a", "refs/x/*:refs/o/*"},
                         "refs/o/a"),
            "refs/heads/a");
}

}  // namespace
}  // namespace kelpie::agent
