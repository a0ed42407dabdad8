#include "settings/ItemListMigration.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "settings/SettingsKeys.h"
#include "support/EventLog.h"
#include "support/FakeUserDefaults.h"

namespace kelpie {
namespace {

// A store that also remembers every value in the order of its storing.
class RecordingDefaults final : public UserDefaults {
 public:
  struct Store {
    std::string key;
    Object value;
  };

  Object objectForKey(std::string_view key) const override { return values_.objectForKey(key); }
  void setObject(std::string_view key, const Object& value) override {
    stores.push_back({std::string(key), value});
    values_.setObject(key, value);
  }
  void removeObject(std::string_view key) override { values_.removeObject(key); }
  void registerDefaults(const Dictionary& defaults) override { values_.registerDefaults(defaults); }
  Dictionary dictionaryRepresentation() const override {
    return values_.dictionaryRepresentation();
  }
  std::unique_ptr<DefaultsObservation> observe(std::string_view key,
                                               std::function<void()> onChange) override {
    return values_.observe(key, std::move(onChange));
  }

  std::vector<Store> stores;

 private:
  EventLog events_;
  FakeUserDefaults values_{"group", events_};
};

Object tags(std::initializer_list<int> values) { return Objects(values.begin(), values.end()); }

Object list(const Object& repo, const Object& file) {
  return Dictionary{{"KPRepoMenuItems", repo}, {"KPFileMenuItems", file}};
}

Object rootOnly(const Object& root) { return Dictionary{{"KPRootMenuItems", root}}; }

// What the migration makes of one stored list, and how often it stored.
struct Outcome {
  Object value;
  std::size_t stores;
};

Outcome migrated(std::string_view key, const Object& stored) {
  RecordingDefaults defaults;
  defaults.setObject(key, stored);
  defaults.stores.clear();
  migrateItemLists(defaults);
  return {defaults.objectForKey(key), defaults.stores.size()};
}

TEST(ItemListMigration, ReplacesTheRetiredTagByTheFileItem) {
  const Outcome outcome =
      migrated("KPContextualMenuItems", rootOnly(list(tags({1, 12, 5}), tags({-1}))));
  EXPECT_TRUE(outcome.value.isEqual(rootOnly(list(tags({1, 5}), tags({-1, -14})))))
      << outcome.value.description();
}

TEST(ItemListMigration, Rows) {
  struct Case {
    const char* why;
    Object before;
    Object after;
    std::size_t stores;
  };
  const Case cases[] = {
      {"nothing retired, nothing stored", list(tags({1, 2}), tags({-1})),
       list(tags({1, 2}), tags({-1})), 0},
      {"32 twice loses both", list(tags({32, 1, 32}), tags({-1})), list(tags({1}), tags({-1})), 1},
      {"33 goes as well", list(tags({33}), tags({})), list(tags({}), tags({})), 1},
      {"32 and 33 are one store", list(tags({32, 33, 7}), tags({-1})), list(tags({7}), tags({-1})),
       1},
      {"several 12 give one -14, in two stores", list(tags({12, 12, 3, 12}), tags({-1})),
       list(tags({3}), tags({-1, -14})), 2},
      {"-14 is appended though it stands there", list(tags({12}), tags({-14, -1})),
       list(tags({}), tags({-14, -1, -14})), 2},
      {"12 among the file items is not looked at", list(tags({1}), tags({12, 32})),
       list(tags({1}), tags({12, 32})), 0},
      {"12 as a real number is 12", list(Objects{12.0, 1}, tags({})), list(tags({1}), tags({-14})),
       2},
      {"a text is no tag", list(Objects{"12", "32"}, tags({-1})),
       list(Objects{"12", "32"}, tags({-1})), 0},
      {"12.5 is no retired tag", list(Objects{12.5}, tags({})), list(Objects{12.5}, tags({})), 0},
  };
  for (const Case& row : cases) {
    for (const std::string_view listKey : {kRootMenuItemsKey, kMoreMenuItemsKey}) {
      for (const std::string_view menuKey : {kContextualMenuItemsKey, kToolbarItemMenuItemsKey}) {
        const Outcome outcome = migrated(menuKey, Dictionary{{listKey, row.before}});
        const Object wanted = Dictionary{{listKey, row.after}};
        EXPECT_TRUE(outcome.value.isEqual(wanted))
            << row.why << ": " << outcome.value.description();
        EXPECT_EQ(outcome.stores, row.stores) << row.why;
      }
    }
  }
}

TEST(ItemListMigration, AListWithoutFileItemsGetsOnlyTheNewOne) {
  const Outcome outcome =
      migrated("KPContextualMenuItems",
               Dictionary{{"KPMoreMenuItems", Dictionary{{"KPRepoMenuItems", tags({12, 7})}}}});
  EXPECT_TRUE(outcome.value.isEqual(Dictionary{{"KPMoreMenuItems", list(tags({7}), tags({-14}))}}))
      << outcome.value.description();
}

TEST(ItemListMigration, KeepsWhateverElseTheListHolds) {
  const Object before =
      Dictionary{{"KPRootMenuItems", Dictionary{{"KPRepoMenuItems", tags({32})},
                                                {"KPAppMenuItems", tags({1000, 12, 32})},
                                                {"other", "value"}}},
                 {"KPMoreMenuItems", Dictionary{{"KPFileMenuItems", tags({-1})}}},
                 {"note", 5}};
  const Object after =
      Dictionary{{"KPRootMenuItems", Dictionary{{"KPRepoMenuItems", tags({})},
                                                {"KPAppMenuItems", tags({1000, 12, 32})},
                                                {"other", "value"}}},
                 {"KPMoreMenuItems", Dictionary{{"KPFileMenuItems", tags({-1})}}},
                 {"note", 5}};
  const Outcome outcome = migrated("KPContextualMenuItems", before);
  EXPECT_TRUE(outcome.value.isEqual(after)) << outcome.value.description();
}

TEST(ItemListMigration, ListsOfAnyOtherShapeSurviveUnchanged) {
  const Object values[] = {
      5,
      "text",
      true,
      tags({12, 32}),
      Dictionary{},
      rootOnly(12),
      rootOnly("12"),
      rootOnly(tags({12, 32, 33})),
      Dictionary{{"KPRootMenuItems", 12}, {"KPMoreMenuItems", true}},
      rootOnly(list(12, tags({-1}))),
      rootOnly(list("12", tags({-1}))),
      rootOnly(list(Dictionary{{"12", 12}}, tags({-1}))),
      rootOnly(list(Objects{Objects{12}, Dictionary{{"tag", 12}}}, tags({-1}))),
      rootOnly(list(Objects{"12", "32"}, 7)),
  };
  for (const Object& value : values) {
    const Outcome outcome = migrated("KPContextualMenuItems", value);
    EXPECT_TRUE(outcome.value.isEqual(value)) << value.description();
    EXPECT_EQ(outcome.stores, 0U) << value.description();
  }
}

// The first store of a menu still holds the 12: at no moment does another process see neither.
TEST(ItemListMigration, StoresTheFileItemsBeforeTheRepositoryItems) {
  RecordingDefaults defaults;
  const Object both = Dictionary{{"KPRootMenuItems", list(tags({12, 1}), tags({-1}))},
                                 {"KPMoreMenuItems", list(tags({33, 12}), tags({}))}};
  defaults.setObject(kContextualMenuItemsKey, both);
  defaults.setObject(kToolbarItemMenuItemsKey, rootOnly(list(tags({32}), tags({}))));
  defaults.stores.clear();

  migrateItemLists(defaults);

  const Object untouchedMore = list(tags({33, 12}), tags({}));
  const Object finishedRoot = list(tags({1}), tags({-1, -14}));
  const RecordingDefaults::Store wanted[] = {
      {"KPContextualMenuItems",
       Dictionary{{"KPRootMenuItems", list(tags({12, 1}), tags({-1, -14}))},
                  {"KPMoreMenuItems", untouchedMore}}},
      {"KPContextualMenuItems",
       Dictionary{{"KPRootMenuItems", finishedRoot}, {"KPMoreMenuItems", untouchedMore}}},
      {"KPContextualMenuItems", Dictionary{{"KPRootMenuItems", finishedRoot},
                                           {"KPMoreMenuItems", list(tags({33, 12}), tags({-14}))}}},
      {"KPContextualMenuItems", Dictionary{{"KPRootMenuItems", finishedRoot},
                                           {"KPMoreMenuItems", list(tags({}), tags({-14}))}}},
      {"KPToolbarItemMenuItems", rootOnly(list(tags({}), tags({})))},
  };
  ASSERT_EQ(defaults.stores.size(), std::size(wanted));
  for (std::size_t store = 0; store < std::size(wanted); ++store) {
    EXPECT_EQ(defaults.stores[store].key, wanted[store].key) << store;
    EXPECT_TRUE(defaults.stores[store].value.isEqual(wanted[store].value))
        << store << ": " << defaults.stores[store].value.description();
  }
}

}  // namespace
}  // namespace kelpie
