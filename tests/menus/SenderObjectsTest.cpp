#include "menus/SenderObjects.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(SenderObjects, AnActionWithoutAnEntryHasNoObject) {
  const SenderObjects objects;
  EXPECT_TRUE(objects.objectForAction("stage:").isNil());
}

TEST(SenderObjects, TheLastObjectOfAnActionCounts) {
  SenderObjects objects;
  objects.set("stage:", "first");
  objects.set("stage:", "second");
  objects.set("unstage:", "other");
  EXPECT_EQ(objects.objectForAction("stage:").stringValue(), "second");
  EXPECT_EQ(objects.objectForAction("unstage:").stringValue(), "other");
}

TEST(SenderObjects, TheColonIsPartOfTheName) {
  SenderObjects objects;
  objects.set("stage:", "object");
  EXPECT_TRUE(objects.objectForAction("stage").isNil());
}

TEST(SenderObjects, NoObjectRemovesTheEntry) {
  SenderObjects objects;
  objects.set("stage:", "object");
  objects.set("stage:", Object());
  EXPECT_TRUE(objects.objectForAction("stage:").isNil());
}

TEST(SenderObjects, RemovingConcernsOneActionOnly) {
  SenderObjects objects;
  objects.set("stage:", "one");
  objects.set("unstage:", "two");
  objects.remove("stage:");
  objects.remove("never:");
  EXPECT_TRUE(objects.objectForAction("stage:").isNil());
  EXPECT_EQ(objects.objectForAction("unstage:").stringValue(), "two");
}

}  // namespace
}  // namespace kelpie
