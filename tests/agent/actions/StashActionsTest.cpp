#include <gtest/gtest.h>

#include <string>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class StashActionsTest : public ActionFixture {
 protected:
  // Newest first: "second", "first".
  void makeStashes() const {
    for (const char* name : {"first", "second"}) {
      sandbox.write("r/a", name);
      sandbox.git("r", {"stash", "push", "-q", "-m", name});
    }
  }
  std::string stashes() const { return sandbox.git("r", {"stash", "list", "--format=%gs"}); }
};

TEST_F(StashActionsTest, SavesTheChosenFilesUnderTheNameThatIsTyped) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/sub/b", "two\n");
  sandbox.write("r/new", "");
  answer({"my words"});
  expectDone(runFiles("saveStash:", {"a", "new"}));
  EXPECT_EQ(status(), " M sub/b");
  EXPECT_EQ(stashes(), "On main: my words");
}

TEST_F(StashActionsTest, SavesEverythingWhenNothingIsChosen) {
  sandbox.write("r/a", "two\n");
  sandbox.write("r/sub/b", "two\n");
  answer({"all"});
  expectDone(run(request("saveStash:")));
  EXPECT_EQ(status(), "");
}

TEST_F(StashActionsTest, CancellingSavesNothing) {
  sandbox.write("r/a", "two\n");
  answer({"no"});
  expectCancelled(runFiles("saveStash:", {"a"}));
  EXPECT_EQ(status(), " M a");
}

TEST_F(StashActionsTest, SavesWithoutWordsWhenItCannotAsk) {
  sandbox.write("r/a", "two\n");
  removeDialogs();
  expectDone(runFiles("saveStash:", {"a"}));
  EXPECT_EQ(status(), "");
  EXPECT_TRUE(stashes().starts_with("WIP on main"));
}

TEST_F(StashActionsTest, AppliesTheChosenStashAndKeepsIt) {
  makeStashes();
  expectDone(run(request("applyStash:", "On main: first", 1)));
  EXPECT_EQ(sandbox.read("r/a"), "first");
  EXPECT_EQ(stashes(), "On main: second\nOn main: first");
}

TEST_F(StashActionsTest, AStashThatDoesNotApplyIsToldInGitsWords) {
  makeStashes();
  sandbox.write("r/a", "mine");
  expectFailed(run(request("applyStash:", "On main: first", 1)), "overwritten");
  EXPECT_EQ(sandbox.read("r/a"), "mine");
}

TEST_F(StashActionsTest, DeletesTheChosenStashAfterAsking) {
  makeStashes();
  answer({"no", "yes"});
  expectCancelled(run(request("deleteStashes:", "On main: first", 1)));
  expectDone(run(request("deleteStashes:", "On main: first", 1)));
  EXPECT_EQ(stashes(), "On main: second");
}

TEST_F(StashActionsTest, DeletesTheStashThatWasChosenThoughItHasMoved) {
  makeStashes();
  const ActionContext before = context();
  sandbox.write("r/a", "third");
  sandbox.git("r", {"stash", "push", "-q", "-m", "third"});
  answer({"yes"});
  expectDone(run(request("deleteStashes:", "On main: second", 0), before));
  EXPECT_EQ(stashes(), "On main: third\nOn main: first");
}

TEST_F(StashActionsTest, AnotherStashInItsPlaceIsLeftAlone) {
  makeStashes();
  sandbox.git("r", {"stash", "drop", "-q"});
  answer({"yes", "yes"});
  expectFailed(run(request("deleteStashes:", "On main: second", 0)), "changed");
  expectFailed(run(request("deleteStashes:", "On main: first", 7)), "changed");
  expectFailed(run(request("deleteStashes:", "On main: first", -1)), "changed");
  EXPECT_EQ(stashes(), "On main: first");
}

TEST_F(StashActionsTest, WithoutASnapshotTheStashesAreReadNow) {
  makeStashes();
  ActionContext bare = context();
  bare.references = nullptr;
  bare.status = nullptr;
  answer({"yes"});
  expectDone(run(request("deleteStashes:", "On main: second", 0), bare));
  EXPECT_EQ(stashes(), "On main: first");
}

TEST_F(StashActionsTest, AStashThatVanishedMeanwhileIsSaidSo) {
  makeStashes();
  const ActionContext before = context();
  sandbox.git("r", {"stash", "clear"});
  answer({"yes"});
  expectFailed(run(request("deleteStashes:", "On main: second", 0), before), "not there any more");
}

}  // namespace
}  // namespace kelpie::agent
