#include "settings/KPUserDefaults.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "settings/ApplicationGroup.h"
#include "settings/SettingsKeys.h"
#include "support/FakePlatform.h"

namespace kelpie {
namespace {

using Failure = ApplicationGroup::Failure;

// What can stand where the application groups should, and the first check that it fails.
struct GroupCase {
  const char* why;
  bool taskMade;
  Object value;
  Failure failure;
};

const std::vector<GroupCase>& groupCases() {
  static const std::vector<GroupCase> cases = {
      {"the signature cannot be looked at", false, Objects{"group.x"}, Failure::NoTask},
      {"no such entitlement", true, Object(), Failure::NoEntitlement},
      {"a string is no array", true, "group.x", Failure::NoElement},
      {"a dictionary is no array", true, Dictionary{{"a", "b"}}, Failure::NoElement},
      {"an empty array", true, Objects{}, Failure::NoElement},
      {"the first is a number", true, Objects{5, "group.x"}, Failure::NoString},
      {"one string", true, Objects{"group.x"}, Failure::None},
      {"the others are not looked at", true, Objects{"group.x", 5, "group.y"}, Failure::None},
  };
  return cases;
}

void setGroups(FakePlatform& fakes, const GroupCase& row) {
  fakes.entitlements.taskMade = row.taskMade;
  fakes.entitlements.values.clear();
  fakes.entitlements.values.emplace(FakeEntitlements::kApplicationGroups, row.value);
}

TEST(ApplicationGroup, IsTheFirstStringOfTheEntitlement) {
  for (const GroupCase& row : groupCases()) {
    FakePlatform fakes;
    setGroups(fakes, row);
    const ApplicationGroup group = ApplicationGroup::read(fakes.entitlements);
    EXPECT_EQ(group.failure, row.failure) << row.why;
    EXPECT_EQ(group.name, row.failure == Failure::None ? "group.x" : "") << row.why;
  }
}

TEST(KPUserDefaults, OpensTheSuiteOfTheApplicationGroup) {
  for (const GroupCase& row : groupCases()) {
    FakePlatform fakes;
    setGroups(fakes, row);
    KPUserDefaults defaults(fakes.platform());
    EXPECT_EQ(defaults.sharedApplicationGroupDefaults() != nullptr, row.failure == Failure::None)
        << row.why;
    EXPECT_EQ(fakes.events.count("defaults.open group.x"), row.failure == Failure::None ? 1U : 0U)
        << row.why;
    EXPECT_EQ(fakes.events.count("log"), 0U) << row.why;
  }
}

TEST(KPUserDefaults, AreOpenedOnceForAllCallers) {
  FakePlatform fakes;
  KPUserDefaults defaults(fakes.platform());
  EXPECT_EQ(fakes.events.count("defaults.open"), 0U);
  UserDefaults* const first = defaults.sharedApplicationGroupDefaults();
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(defaults.sharedApplicationGroupDefaults(), first);
  EXPECT_EQ(fakes.events.count("defaults.open"), 1U);
  EXPECT_EQ(fakes.events.count("defaults.register"), 1U);
}

TEST(KPUserDefaults, ConcurrentFirstCallsWaitForOneOpening) {
  FakePlatform fakes;
  KPUserDefaults defaults(fakes.platform());
  std::vector<UserDefaults*> seen(8, nullptr);
  std::vector<std::thread> threads;
  for (UserDefaults*& result : seen) {
    threads.emplace_back([&] {
      result = defaults.sharedApplicationGroupDefaults();
      // Whoever has the defaults finds them registered.
      EXPECT_TRUE(result->boolForKey(kShowFolderGitStatusKey));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<UserDefaults*>(seen.begin(), seen.end()).size(), 1U);
  EXPECT_EQ(fakes.events.count("defaults.open"), 1U);
}

TEST(KPUserDefaults, StayAbsentOnceTheGroupCouldNotBeRead) {
  FakePlatform fakes;
  fakes.entitlements.taskMade = false;
  KPUserDefaults defaults(fakes.platform());
  EXPECT_EQ(defaults.sharedApplicationGroupDefaults(), nullptr);
  fakes.entitlements.taskMade = true;
  EXPECT_EQ(defaults.sharedApplicationGroupDefaults(), nullptr);
  EXPECT_EQ(fakes.events.count("entitlements.read"), 1U);
  EXPECT_EQ(fakes.events.count("defaults."), 0U);
}

TEST(KPUserDefaults, StayAbsentWhenTheSuiteCannotBeOpened) {
  FakePlatform fakes;
  fakes.defaults.refuseSuites(true);
  KPUserDefaults defaults(fakes.platform());
  EXPECT_EQ(defaults.sharedApplicationGroupDefaults(), nullptr);
  fakes.defaults.refuseSuites(false);
  EXPECT_EQ(defaults.sharedApplicationGroupDefaults(), nullptr);
}

TEST(KPUserDefaults, FreshDefaultsReadAsRegistered) {
  FakePlatform fakes;
  KPUserDefaults defaults(fakes.platform());
  const UserDefaults& shared = *defaults.sharedApplicationGroupDefaults();

  EXPECT_TRUE(shared.boolForKey("KPShowFolderGitStatus"));
  for (const std::string_view key : {"KPContextualMenuItems", "KPToolbarItemMenuItems"}) {
    const Object items = shared.dictionaryForKey(key);
    EXPECT_TRUE(items.isEqual(KPUserDefaults::defaultFinderMenuItems())) << key;
    EXPECT_EQ(items["KPRootMenuItems"]["KPRepoMenuItems"].size(), 15U) << key;
    EXPECT_EQ(items["KPMoreMenuItems"]["KPRepoMenuItems"].size(), 19U) << key;
    EXPECT_EQ(items["KPRootMenuItems"]["KPFileMenuItems"].size(), 7U) << key;
    EXPECT_EQ(items["KPMoreMenuItems"]["KPFileMenuItems"].size(), 5U) << key;
  }
  EXPECT_EQ(shared.dictionaryRepresentation().size(), 3U);
  EXPECT_EQ(fakes.events.count("defaults.set"), 0U) << "registered values must not become stored";
}

TEST(KPUserDefaults, AStoredItemListReplacesTheFactoryListWhole) {
  FakePlatform fakes;
  const Object stored =
      Dictionary{{kRootMenuItemsKey, Dictionary{{kRepoMenuItemsKey, Objects{3}}}}};
  fakes.groupDefaults().changeFromOutside(kContextualMenuItemsKey, stored);
  KPUserDefaults defaults(fakes.platform());
  const UserDefaults& shared = *defaults.sharedApplicationGroupDefaults();
  EXPECT_TRUE(shared.dictionaryForKey(kContextualMenuItemsKey).isEqual(stored));
}

TEST(KPUserDefaults, AStoredListOfAnotherClassReadsAsNil) {
  FakePlatform fakes;
  fakes.groupDefaults().changeFromOutside(kContextualMenuItemsKey, 12);
  KPUserDefaults defaults(fakes.platform());
  const UserDefaults& shared = *defaults.sharedApplicationGroupDefaults();
  EXPECT_TRUE(shared.dictionaryForKey(kContextualMenuItemsKey).isNil());
  EXPECT_TRUE(fakes.groupDefaults().storedValue(kContextualMenuItemsKey).isEqual(12));
}

TEST(KPUserDefaults, RegistersBeforeItMigratesAndMigratesTheMenusInOrder) {
  FakePlatform fakes;
  const Object stored =
      Dictionary{{kRootMenuItemsKey, Dictionary{{kRepoMenuItemsKey, Objects{12}}}}};
  fakes.groupDefaults().changeFromOutside(kToolbarItemMenuItemsKey, stored);
  fakes.groupDefaults().changeFromOutside(kContextualMenuItemsKey, stored);
  fakes.events.clear();

  KPUserDefaults defaults(fakes.platform());
  defaults.sharedApplicationGroupDefaults();

  EXPECT_EQ(fakes.events.lines(), (std::vector<std::string>{
                                      "entitlements.read com.apple.security.application-groups",
                                      "defaults.open group.org.kelpie",
                                      "defaults.register group.org.kelpie",
                                      "defaults.set group.org.kelpie KPContextualMenuItems",
                                      "defaults.set group.org.kelpie KPContextualMenuItems",
                                      "defaults.set group.org.kelpie KPToolbarItemMenuItems",
                                      "defaults.set group.org.kelpie KPToolbarItemMenuItems",
                                  }));
}

}  // namespace
}  // namespace kelpie
