#include "platform/contract/UserDefaultsContract.h"

#include <thread>

#include "foundation/Bytes.h"
#include "foundation/Dictionary.h"

namespace kelpie {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(UserDefaultsContract);

namespace {

TEST_P(UserDefaultsContract, AStoredValueCountsMoreThanARegisteredOne) {
  defaults.registerDefaults({{"a", "registered"}, {"b", "registered"}});
  defaults.registerDefaults({{"c", "later"}});
  defaults.setObject("a", "stored");
  EXPECT_EQ(defaults.stringForKey("a"), "stored");
  EXPECT_EQ(defaults.stringForKey("b"), "registered");
  EXPECT_EQ(defaults.stringForKey("c"), "later");
  EXPECT_TRUE(defaults.objectForKey("d").isNil());
  defaults.removeObject("a");
  EXPECT_EQ(defaults.stringForKey("a"), "registered");
}

TEST_P(UserDefaultsContract, AllKeysAreListedOnceWithTheValueThatCounts) {
  defaults.registerDefaults({{"a", "registered"}, {"b", "registered"}});
  defaults.setObject("a", "stored");
  const Dictionary all = defaults.dictionaryRepresentation();
  EXPECT_EQ(all["a"].stringValue(), "stored");
  EXPECT_EQ(all["b"].stringValue(), "registered");
}

TEST_P(UserDefaultsContract, ValuesOfEveryKindComeBackAsTheyWere) {
  const Object values[] = {
      Object("text \xC3\xA4"),
      Object(true),
      Object(-7),
      Object(2.5),
      Object(Bytes{0, 1, 255}),
      Object(Objects{Object("a"), Object(1)}),
      Object(Dictionary{{"key", Objects{Object(Bytes{7})}}}),
  };
  for (const Object& value : values) {
    defaults.setObject("key", value);
    const Object stored = defaults.objectForKey("key");
    EXPECT_TRUE(stored.isEqual(value)) << value.description();
    EXPECT_EQ(stored.kind(), value.kind()) << value.description();
  }
}

TEST_P(UserDefaultsContract, WhatAnotherProcessStoresIsSeen) {
  world->changeFromOutside("key", "theirs");
  EXPECT_TRUE(world->runUntil([&] { return defaults.stringForKey("key") == "theirs"; }));
}

TEST_P(UserDefaultsContract, AChangeOfTheKeyIsToldWhoeverMakesIt) {
  int told = 0;
  const auto observation = defaults.observe("key", [&] { ++told; });
  defaults.setObject("key", "ours");
  EXPECT_TRUE(world->runUntil([&] { return told == 1; }));
  world->changeFromOutside("key", "theirs");
  EXPECT_TRUE(world->runUntil([&] { return told == 2; }));
  world->changeFromOutside("key", Object());
  EXPECT_TRUE(world->runUntil([&] { return told == 3; }));
}

TEST_P(UserDefaultsContract, NeitherAnotherKeyNorTheSameValueIsTold) {
  defaults.setObject("key", "value");
  settle();
  int told = 0;
  const auto observation = defaults.observe("key", [&] { ++told; });
  world->changeFromOutside("another", 1);
  world->changeFromOutside("key", "value");
  defaults.setObject("key", "value");
  settle();
  EXPECT_EQ(told, 0);
}

TEST_P(UserDefaultsContract, AnObservationThatIsLetGoIsToldNothing) {
  int told = 0;
  auto observation = defaults.observe("key", [&] { ++told; });
  world->changeFromOutside("key", 1);
  ASSERT_TRUE(world->runUntil([&] { return told == 1; }));
  observation.reset();
  world->changeFromOutside("key", 2);
  settle();
  EXPECT_EQ(told, 1);
}

// It may be on its way to the thread that tells of it.
TEST_P(UserDefaultsContract, AChangeBeforeAnObservationIsLetGoIsNotToldAfterIt) {
  int told = 0;
  auto observation = defaults.observe("key", [&] { ++told; });
  std::thread([&] { defaults.setObject("key", "ours"); }).join();
  observation.reset();
  const int before = told;
  settle();
  EXPECT_EQ(told, before);
}

}  // namespace
}  // namespace kelpie
