#include "status/UrlList.h"

#include <gtest/gtest.h>

#include "foundation/Dictionary.h"

namespace kelpie {
namespace {

TEST(UrlList, KeepsPathsInOrder) {
  const UrlList list(
      Object(Objects{URL::fileURLWithPath("/r/a b"), URL::fileURLWithPath("/r/dir", true),
                     *URL::fromString("https://host/r/x")}));
  ASSERT_EQ(list.size(), 3U);
  EXPECT_EQ(list.count(), 3U);
  EXPECT_EQ(list.path(0), "/r/a b");
  EXPECT_EQ(list.path(1), "/r/dir");
  EXPECT_EQ(list.path(2), "/r/x");
  EXPECT_TRUE(list.isFileURL(1));
  EXPECT_FALSE(list.isFileURL(2));
}

TEST(UrlList, AnElementThatIsNoUrlCountsAndHasNoPath) {
  const UrlList list(Object(Objects{"/r/a", 7, URL::fileURLWithPath("/r/b"), Objects{}}));
  EXPECT_EQ(list.count(), 4U);
  ASSERT_EQ(list.size(), 1U);
  EXPECT_EQ(list.path(0), "/r/b");
}

TEST(UrlList, WhatIsNoArrayIsEmpty) {
  for (const Object& object : {Object(), Object("x"), Object(5), Object(Dictionary{{"a", "b"}}),
                               Object(URL::fileURLWithPath("/r"))}) {
    const UrlList list(object);
    EXPECT_EQ(list.count(), 0U) << object.description();
    EXPECT_EQ(list.size(), 0U) << object.description();
  }
}

}  // namespace
}  // namespace kelpie
