#include "platform/contract/NotificationContract.h"

#include <string>
#include <thread>
#include <vector>

namespace kelpie {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NotificationContract);

namespace {

TEST_P(NotificationContract, AnObserverHearsItsNameAloneFromAnyObject) {
  const auto observation = observe("name");
  world->postFromOutside("another", "x");
  world->postFromOutside("name", "first");
  world->postFromOutside("name", "");
  ASSERT_TRUE(hears(2));
  EXPECT_EQ(heard, (std::vector<std::string>{"name first", "name "}));
}

TEST_P(NotificationContract, WhatAProcessPostsReachesItsOwnObserversLater) {
  const auto observation = observe("name");
  world->center().post("name", "own");
  EXPECT_TRUE(heard.empty()) << "never inline";
  ASSERT_TRUE(hears(1));
  EXPECT_EQ(heard.front(), "name own");
}

TEST_P(NotificationContract, EveryThreadMayPost) {
  const auto observation = observe("name");
  std::thread([&] { world->center().post("name", "thread"); }).join();
  EXPECT_TRUE(hears(1));
}

TEST_P(NotificationContract, TwoObserversOfANameBothHearIt) {
  const auto first = observe("name");
  const auto second = observe("name");
  world->postFromOutside("name", "x");
  EXPECT_TRUE(hears(2));
}

TEST_P(NotificationContract, AnObservationThatIsLetGoHearsNothingMore) {
  auto observation = observe("name");
  const auto witness = observe("witness");
  world->postFromOutside("name", "1");
  ASSERT_TRUE(hears(1));
  observation.reset();
  world->postFromOutside("name", "2");
  world->postFromOutside("witness", "after");
  ASSERT_TRUE(hears(2));
  EXPECT_EQ(heard, (std::vector<std::string>{"name 1", "witness after"}));
}

TEST_P(NotificationContract, AnObserverMayLetItselfGo) {
  std::unique_ptr<NotificationObservation> observation;
  int count = 0;
  observation = world->center().addObserver("name", [&](const std::string& /*object*/) {
    ++count;
    observation.reset();
  });
  const auto witness = observe("witness");
  world->postFromOutside("name", "1");
  world->postFromOutside("name", "2");
  world->postFromOutside("witness", "");
  ASSERT_TRUE(hears(1));
  EXPECT_EQ(count, 1);
}

}  // namespace
}  // namespace kelpie
