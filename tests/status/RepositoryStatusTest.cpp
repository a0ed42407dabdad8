#include "status/RepositoryStatus.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"
#include "foundation/URL.h"
#include "protocol/StatusWord.h"
#include "status/IgnoredUrls.h"
#include "status/ItemPlaces.h"
#include "status/StatusInfo.h"
#include "status/StatusTable.h"
#include "status/UrlList.h"
#include "support/LongEnough.h"

namespace kelpie {
namespace {

StatusTable::Key key(std::string_view path) { return StatusTable::Key::ofPath(path); }

StatusTable tableOf(std::string_view path, StatusWord word) {
  StatusTable table;
  table.record(key(path), word);
  return table;
}

// A status with an entry for "/r/a", and so many changed items.
StatusInfo infoOf(StatusWord word, std::size_t changed, std::uint64_t newItems) {
  Objects dirty;
  for (std::size_t i = 0; i < changed; ++i)
    dirty.emplace_back(URL::fileURLWithPath("/r/" + std::to_string(i)));
  const Object read = Dictionary{{"KPStatusDirtyURLs", dirty}, {"KPStatusNewCount", newItems}};
  StatusInfo info = StatusInfo::read(read);
  info.status = tableOf("/r/a", word);
  return info;
}

class RepositoryStatusTest : public testing::Test {
 protected:
  RepositoryStatus status_{URL::fileURLWithPath("/r"), URL::fileURLWithPath("/r/.git")};
};

// -- What a status brings -------------------------------------------------------------------------

TEST_F(RepositoryStatusTest, BeforeTheFirstStatusNothingIsKnownAndNothingRecorded) {
  EXPECT_EQ(status_.wordOf(key("/r/a")), std::nullopt);
  EXPECT_TRUE(status_.record(key("/r/a"), KPStatusCurrent, status_.changes()));
  EXPECT_EQ(status_.wordOf(key("/r/a")), std::nullopt);
  status_.change(key("/r/a"), KPStatusCurrent);
  EXPECT_EQ(status_.wordOf(key("/r/a")), std::nullopt);
  EXPECT_EQ(status_.dirtyUrls()->count(), 0U);
}

TEST_F(RepositoryStatusTest, AStatusReplacesEverythingButTheState) {
  status_.setState(7);
  StatusInfo first = infoOf(KPStatusWorkdirModified, 2, 0);
  status_.exchange(first);
  EXPECT_EQ(status_.wordOf(key("/r/a")), KPStatusWorkdirModified);
  EXPECT_EQ(status_.dirtyUrls()->count(), 2U);
  EXPECT_EQ(first.status, std::nullopt) << "what was there before: no table";

  StatusInfo second;
  second.status = tableOf("/r/b", KPStatusWorkdirNew);
  status_.exchange(second);
  EXPECT_EQ(status_.wordOf(key("/r/a")), std::nullopt);
  EXPECT_EQ(status_.wordOf(key("/r/b")), KPStatusWorkdirNew);
  EXPECT_EQ(status_.dirtyUrls()->count(), 0U);
  EXPECT_EQ(status_.state(), 7);
  ASSERT_TRUE(second.status);
  EXPECT_EQ(second.status->wordOf(key("/r/a")), KPStatusWorkdirModified)
      << "what was there before is handed back, to go without the lock";
}

TEST_F(RepositoryStatusTest, ItIsDirtyByItsChangedItemsAndReallySoByThoseThatAreNotNew) {
  struct Case {
    const char* why;
    std::size_t changed;
    std::uint64_t newItems;
    bool isDirty;
    bool isRealDirty;
  };
  const Case cases[] = {{"nothing has changed", 0, 0, false, false},
                        {"all that has changed is new", 2, 2, true, false},
                        {"one of two is new", 2, 1, true, true}};
  for (const Case& c : cases) {
    StatusInfo info = infoOf(KPStatusCurrent, c.changed, c.newItems);
    status_.exchange(info);
    EXPECT_EQ(status_.isDirty(), c.isDirty) << c.why;
    EXPECT_EQ(status_.isRealDirty(), c.isRealDirty) << c.why;
  }
}

TEST_F(RepositoryStatusTest, AfterItsEndItHoldsNothingAndTakesNothingIn) {
  StatusInfo info = infoOf(KPStatusWorkdirModified, 1, 0);
  status_.exchange(info);
  status_.end();
  EXPECT_EQ(status_.wordOf(key("/r/a")), std::nullopt);
  StatusInfo late = infoOf(KPStatusWorkdirModified, 1, 0);
  status_.exchange(late);
  status_.setTable(tableOf("/r/a", KPStatusWorkdirModified));
  EXPECT_EQ(status_.wordOf(key("/r/a")), std::nullopt);
}

// -- What is concluded from it --------------------------------------------------------------------

TEST_F(RepositoryStatusTest, WhatWasConcludedFromAFormerStatusIsNotRecorded) {
  status_.setTable(StatusTable());
  const std::uint64_t before = status_.changes();
  StatusInfo info = infoOf(KPStatusWorkdirModified, 0, 0);
  status_.exchange(info);
  EXPECT_FALSE(status_.record(key("/r/a"), KPStatusCurrent, before));
  EXPECT_EQ(status_.recordIfMissing(key("/r/b"), KPStatusCurrent, before), std::nullopt);
  EXPECT_EQ(status_.wordOf(key("/r/a")), KPStatusWorkdirModified);
  EXPECT_EQ(status_.wordOf(key("/r/b")), std::nullopt);

  EXPECT_TRUE(status_.record(key("/r/b"), KPStatusCurrent, status_.changes()));
  EXPECT_EQ(status_.wordOf(key("/r/b")), KPStatusCurrent);
}

TEST_F(RepositoryStatusTest, AnEntryThatIsThereStaysWhereOneIsOnlyAddedIfMissing) {
  status_.setTable(tableOf("/r/a", KPStatusWorkdirModified));
  const std::uint64_t changes = status_.changes();
  EXPECT_EQ(status_.recordIfMissing(key("/r/a"), KPStatusCurrent, changes),
            KPStatusWorkdirModified);
  EXPECT_EQ(status_.recordIfMissing(key("/r/b"), KPStatusCurrent, changes), KPStatusCurrent);
  EXPECT_EQ(status_.wordOf(key("/r/a")), KPStatusWorkdirModified);
}

TEST_F(RepositoryStatusTest, WhatChangesManyBadgesChangesTheNumberOfChanges) {
  struct Case {
    const char* why;
    void (*act)(RepositoryStatus& status);
    bool changes;
    bool changesPlaces;
  };
  const Case cases[] = {
      {"a status came in",
       [](RepositoryStatus& status) {
         StatusInfo info = infoOf(KPStatusWorkdirModified, 0, 0);
         status.exchange(info);
       },
       true, true},
      {"an item was staged",
       [](RepositoryStatus& status) { status.change(key("/r/a"), KPStatusIndexModified); }, true,
       false},
      {"there is no such item to stage",
       [](RepositoryStatus& status) { status.change(key("/r/none"), KPStatusIndexModified); },
       false, false},
      {"a conclusion changes no other",
       [](RepositoryStatus& status) {
         status.record(key("/r/b"), KPStatusCurrent, status.changes());
       },
       false, false},
      {"the git directory moved",
       [](RepositoryStatus& status) { status.setGitUrl(URL::fileURLWithPath("/g")); }, true, true},
      {"other items are ignored",
       [](RepositoryStatus& status) {
         status.setIgnoredUrls(std::make_shared<const IgnoredUrls>());
       },
       true, true},
      {"another state is on no badge", [](RepositoryStatus& status) { status.setState(3); }, false,
       false},
      {"it ended", [](RepositoryStatus& status) { status.end(); }, true, false},
  };
  for (const Case& c : cases) {
    RepositoryStatus status(URL::fileURLWithPath("/r"), std::nullopt);
    status.setTable(tableOf("/r/a", KPStatusWorkdirModified));
    const std::uint64_t before = status.changes();
    const std::uint64_t places = status.placesNumber();
    c.act(status);
    EXPECT_EQ(status.changes() != before, c.changes) << c.why;
    EXPECT_EQ(status.placesNumber() != places, c.changesPlaces) << c.why;
  }
}

TEST_F(RepositoryStatusTest, ThePlacesAreThoseOfTheirNumber) {
  status_.setGitUrl(URL::fileURLWithPath("/g"));
  const ItemPlaces places = status_.places();
  EXPECT_EQ(places.root->path(), "/r");
  EXPECT_EQ(places.gitUrl->path(), "/g");
  EXPECT_EQ(places.number, status_.placesNumber());
}

// -- Many at a time -------------------------------------------------------------------------------

TEST_F(RepositoryStatusTest, EachItemThatHasAKeyIsVisitedInOrder) {
  StatusTable table;
  table.record(key("/r/0"), 1);
  table.record(key("/r/2"), 3);
  status_.setTable(std::move(table));
  const std::vector<std::string> paths = {"/r/0", "", "/r/2", "/r/none"};
  std::vector<std::optional<StatusWord>> words;
  status_.forEachWord(
      paths.size(),
      [&](std::size_t position) {
        const std::string& path = paths.at(position);
        return path.empty() ? std::nullopt : std::optional(key(path));
      },
      [&](std::optional<StatusWord> word) { words.push_back(word); });
  EXPECT_EQ(words, (std::vector<std::optional<StatusWord>>{1, 3, std::nullopt}));
}

// A badge request does not wait for the words of a hundred thousand changed items.
TEST_F(RepositoryStatusTest, OthersGetInWhileItemsAreVisited) {
  struct GotIn {};
  std::atomic<bool> isVisiting = false;
  std::atomic<bool> gotIn = false;
  std::thread other([&] {
    while (!isVisiting) std::this_thread::yield();
    status_.setState(1);
    gotIn = true;
  });
  const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
  // No item is the last: the walk ends when the other thread has been let in.
  const auto visitAll = [&] {
    status_.forEachWord(
        std::numeric_limits<std::size_t>::max(),
        [&](std::size_t position) -> std::optional<StatusTable::Key> {
          isVisiting = true;
          if (gotIn) throw GotIn();
          if (position % 4096 == 0 && std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("nobody was let in");
          return std::nullopt;
        },
        [](std::optional<StatusWord> /*word*/) {});
  };
  EXPECT_THROW(visitAll(), GotIn);
  other.join();
}

}  // namespace
}  // namespace kelpie
