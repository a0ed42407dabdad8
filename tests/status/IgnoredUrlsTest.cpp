#include "status/IgnoredUrls.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "support/FakeFileSystem.h"

namespace kelpie {
namespace {

class IgnoredUrlsTest : public testing::Test {
 protected:
  static UrlList list(std::initializer_list<const char*> paths) {
    Objects urls;
    for (const char* path : paths) urls.emplace_back(URL::fileURLWithPath(path));
    return UrlList(Object(urls));
  }
  bool contains(const IgnoredUrls& urls, std::string_view path) {
    return urls.contains(path, URL::fileURLWithPath(path).identifier(files), files);
  }

  EventLog events;
  FakeFileSystem files{events};
};

TEST_F(IgnoredUrlsTest, AnEmptyListHoldsNothingAndAsksNothing) {
  const IgnoredUrls urls;
  EXPECT_TRUE(urls.empty());
  EXPECT_FALSE(urls.contains("/r", FileIdentifier(bytesOf("x")), files));
  EXPECT_EQ(files.lookUps(), 0U);
}

TEST_F(IgnoredUrlsTest, HoldsAFolderHoweverItsPathIsWritten) {
  files.addFolder("/r/build/x");
  files.addFolder("/r/src");
  files.addLink("/l", "/r");
  const IgnoredUrls urls(list({"/l/build"}));
  EXPECT_TRUE(contains(urls, "/l/build"));
  EXPECT_TRUE(contains(urls, "/r/build"));
  EXPECT_TRUE(contains(urls, "/r/build/x/.."));
  EXPECT_FALSE(contains(urls, "/r/src"));
  EXPECT_FALSE(contains(urls, "/r/build/x"));
}

TEST_F(IgnoredUrlsTest, WhatDoesNotExistEqualsNothing) {
  const IgnoredUrls urls(list({"/r/build"}));
  EXPECT_FALSE(contains(urls, "/r/build"));
}

TEST_F(IgnoredUrlsTest, AnItemThatComesOrGoesAfterTheListWasReadIsSeen) {
  files.addFolder("/r/old");
  files.addFolder("/r/other");
  const IgnoredUrls urls(list({"/r/build", "/r/old"}));
  EXPECT_FALSE(contains(urls, "/r/other"));
  files.addFolder("/r/build");
  EXPECT_TRUE(contains(urls, "/r/build"));
  // The identifier of an ignored folder passes to one that is not ignored.
  files.move("/r/old", "/r/new");
  EXPECT_FALSE(contains(urls, "/r/new"));
}

TEST_F(IgnoredUrlsTest, TheListIsLookedAtOnce) {
  files.addFolder("/r/a");
  files.addFolder("/r/b");
  files.addFolder("/r/c");
  const IgnoredUrls urls(list({"/r/a", "/r/b", "/r/a", "/r/none"}));
  const auto identifier = URL::fileURLWithPath("/r/c").identifier(files);
  files.forgetCounts();
  for (int i = 0; i < 100; ++i) EXPECT_FALSE(urls.contains("/r/c", identifier, files));
  EXPECT_EQ(files.lookUps(), 3U);
}

TEST_F(IgnoredUrlsTest, UrlsOfOtherSchemesHoldNothing) {
  files.addFolder("/r/a");
  const IgnoredUrls urls(UrlList(Object(Objects{*URL::fromString("https://host/r/a")})));
  EXPECT_FALSE(urls.empty());
  EXPECT_FALSE(contains(urls, "/r/a"));
}

}  // namespace
}  // namespace kelpie
