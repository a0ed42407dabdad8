#include "refs/ReferenceItemRules.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include "foundation/Menu.h"
#include "refs/KPRefsManager.h"
#include "support/MenuDescription.h"
#include "support/References.h"

namespace kelpie {
namespace {

const Bytes kTipOid = {1, 2, 3};

// The reference that menus are asked for, in most rows: the head branch and what it tracks.
const ReferenceFields kReference = {.name = "main",
                                    .fullName = "refs/heads/main",
                                    .upstreamName = "refs/remotes/origin/main",
                                    .oid = kTipOid,
                                    .head = true,
                                    .tag = 100};

// The item that the worker makes of a leaf.
std::string itemOf(std::string_view action, const ReferenceFields& leaf,
                   const std::optional<ReferenceFields>& reference) {
  const auto folder = KPTreeNode::create(nullptr, {makeLeaf(leaf)});
  const auto record = reference ? makeReference(*reference) : nullptr;
  Menu menu;
  KPRefsManager::addMenuItemsWithAction(action, record.get(), *folder, menu);
  return menu.items.size() == 1 ? describe(menu.items.front()) : "not one item";
}

// -- Rows of leaves, each for one question that a rule can ask ------------------------------------

const ReferenceFields kPlain = {.name = "x", .fullName = "refs/heads/x", .oid = kTipOid, .tag = 7};
const ReferenceFields kWithoutOid = {.name = "x", .fullName = "refs/heads/x", .tag = 7};
const ReferenceFields kHead = {
    .name = "x", .fullName = "refs/heads/x", .oid = kTipOid, .head = true, .tag = 7};
const ReferenceFields kDetached = {
    .name = "x", .fullName = "HEAD", .oid = kTipOid, .detached = true, .tag = 7};
const ReferenceFields kTracking = {.name = "x",
                                   .fullName = "refs/heads/x",
                                   .upstreamName = "refs/remotes/origin/x",
                                   .oid = kTipOid,
                                   .tag = 7};
const ReferenceFields kSame = {
    .name = "x", .fullName = "refs/heads/main", .oid = kTipOid, .tag = 7};
const ReferenceFields kUpstream = {
    .name = "x", .fullName = "refs/remotes/origin/main", .oid = kTipOid, .tag = 7};

struct Row {
  const char* action;
  // What becomes of the leaves above: "on", "off", each with "-" behind it when disabled.
  const char* plain;
  const char* withoutOid;
  const char* head;
  const char* detached;
  const char* tracking;
  const char* same;
  const char* upstream;
};

// clang-format off
const Row kRows[] = {
    // action                 plain   no oid  head    detached tracking same    upstream
    {"checkout:",             "off",  "off-", "on-",  "off",   "off",   "off",  "off"},
    {"compareCommits:",       "off",  "off-", "off",  "off",   "off",   "off-", "off"},
    {"deleteBranches:",       "off",  "off-", "off-", "off",   "off",   "off",  "off"},
    {"fastForward:",          "off-", "off-", "off-", "off-",  "off",   "off-", "off-"},
    {"merge:",                "off",  "off-", "off-", "off",   "off",   "off",  "on"},
    {"pull:",                 "off",  "off-", "off-", "off",   "off",   "off",  "on"},
    {"rebase:",               "off",  "off-", "off-", "off",   "off",   "off",  "on"},
    {"reset:",                "off",  "off-", "off-", "off",   "off",   "off",  "on"},
    {"renameBranch:",         "off",  "off-", "off",  "off-",  "off",   "off",  "off"},
    {"track:",                "off",  "off-", "off",  "off",   "off",   "off-", "on-"},
    {"deleteRemoteBranches:", "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"renameRemoteBranch:",   "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"createBranch:",         "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"createTag:",            "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"deleteTags:",           "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"exportCommits:",        "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"push:",                 "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"revertItems:",          "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    // Names that are only like one of the others.
    {"checkout",              "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"Merge:",                "off",  "off-", "off",  "off",   "off",   "off",  "off"},
    {"",                      "off",  "off-", "off",  "off",   "off",   "off",  "off"},
};
// clang-format on

std::string expectedItem(const Row& row, const char* outcome, const ReferenceFields& leaf) {
  const std::string text = outcome;
  const bool disabled = text.ends_with('-');
  const bool retitled = std::string_view(row.action) == "fastForward:" && leaf.upstreamName;
  std::string item = retitled ? "x to \"origin/x\"" : "x";
  if (!disabled) item += std::string(" > ") + row.action;
  item += " #7";
  if (text.starts_with("on")) item += " (on)";
  if (disabled) item += " (disabled)";
  return item;
}

TEST(ReferenceItemRules, EachActionMarksAndDisablesByItsOwnRule) {
  for (const Row& row : kRows) {
    const std::pair<const ReferenceFields*, const char*> leaves[] = {
        {&kPlain, row.plain},       {&kWithoutOid, row.withoutOid}, {&kHead, row.head},
        {&kDetached, row.detached}, {&kTracking, row.tracking},     {&kSame, row.same},
        {&kUpstream, row.upstream}};
    int column = 1;
    for (const auto& [leaf, outcome] : leaves) {
      EXPECT_EQ(itemOf(row.action, *leaf, kReference), expectedItem(row, outcome, *leaf))
          << row.action << " column " << column;
      ++column;
    }
  }
}

TEST(ReferenceItemRules, WithoutAReferenceNothingIsComparedEqual) {
  for (const char* action : {"compareCommits:", "merge:", "pull:", "rebase:", "reset:", "track:"})
    for (const ReferenceFields& leaf : {kSame, kUpstream})
      EXPECT_EQ(itemOf(action, leaf, std::nullopt), std::string("x > ") + action + " #7");
}

TEST(ReferenceItemRules, MissingNamesAreNotEqual) {
  const ReferenceFields nameless = {.name = "x", .oid = kTipOid, .tag = 7};
  for (const char* action : {"compareCommits:", "merge:", "pull:", "rebase:", "reset:", "track:"})
    EXPECT_EQ(itemOf(action, nameless, ReferenceFields()), std::string("x > ") + action + " #7");
}

TEST(ReferenceItemRules, NamesAreComparedExactly) {
  const ReferenceFields otherCase = {
      .name = "x", .fullName = "refs/heads/Main", .oid = kTipOid, .tag = 7};
  EXPECT_EQ(itemOf("compareCommits:", otherCase, kReference), "x > compareCommits: #7");
}

TEST(ReferenceItemRules, EmptyNamesThatAreThereAreEqual) {
  const ReferenceFields emptyName = {.name = "x", .fullName = "", .oid = kTipOid, .tag = 7};
  EXPECT_EQ(itemOf("compareCommits:", emptyName, emptyName), "x #7 (disabled)");
}

TEST(ReferenceItemRules, StateDoesNotDependOnEnabled) {
  const ReferenceFields upstreamWithoutOid = {
      .name = "x", .fullName = "refs/remotes/origin/main", .tag = 7};
  EXPECT_EQ(itemOf("merge:", upstreamWithoutOid, kReference), "x #7 (on) (disabled)");
  const ReferenceFields headWithoutOid = {.name = "x", .head = true, .tag = 7};
  EXPECT_EQ(itemOf("checkout:", headWithoutOid, kReference), "x #7 (on) (disabled)");
}

TEST(ReferenceItemRules, EmptyOidIsAnOid) {
  const ReferenceFields emptyOid = {.name = "x", .oid = Bytes{}, .tag = 7};
  EXPECT_EQ(itemOf("createTag:", emptyOid, std::nullopt), "x > createTag: #7");
}

TEST(ReferenceItemRules, FastForwardTitle) {
  struct Case {
    const char* why;
    std::optional<std::string> name;
    std::optional<std::string> upstream;
    std::string title;
  };
  const Case cases[] = {
      {"no upstream: the last component", "feature/x", std::nullopt, "x"},
      {"the whole name", "feature/x", "refs/remotes/origin/y", "feature/x to \"origin/y\""},
      {"three components", "main", "refs/heads/main", "main to \"main\""},
      {"more than four", "main", "refs/remotes/o/a/b", "main to \"o/a/b\""},
      {"two components", "main", "refs/remotes", "main to \"\""},
      {"one component", "main", "main", "main to \"\""},
      {"an upstream that is empty is there", "main", "", "main to \"\""},
      {"doubled slashes vanish", "main", "refs//remotes//origin//main", "main to \"origin/main\""},
      {"a slash at the end vanishes", "main", "refs/remotes/o/", "main to \"o\""},
      {"a leading slash is a component", "main", "/refs/remotes/o", "main to \"remotes/o\""},
      {"no name", std::nullopt, "refs/remotes/o/m", " to \"o/m\""},
      {"a name with slashes is not tidied", "a//b/", "refs/remotes/o/m", "a//b/ to \"o/m\""},
  };
  for (const Case& c : cases) {
    const ReferenceFields leaf = {.name = c.name, .upstreamName = c.upstream, .oid = kTipOid};
    const std::string rest = c.upstream ? " > fastForward:" : " (disabled)";
    EXPECT_EQ(itemOf("fastForward:", leaf, kReference), c.title + rest) << c.why;
  }
}

TEST(ReferenceItemRules, FastForwardWithoutAnOidHasTheTitleAllTheSame) {
  const ReferenceFields leaf = {.name = "main", .upstreamName = "refs/remotes/origin/main"};
  EXPECT_EQ(itemOf("fastForward:", leaf, kReference), "main to \"origin/main\" (disabled)");
}

TEST(ReferenceItemRules, OtherActionsDoNotChangeTheTitle) {
  EXPECT_EQ(itemOf("merge:", kTracking, kReference), "x > merge: #7");
}

TEST(ReferenceItemRules, TagIsThatOfTheRecord) {
  const ReferenceFields leaf = {.name = "x", .oid = kTipOid, .tag = -9'000'000'000};
  EXPECT_EQ(itemOf("push:", leaf, std::nullopt), "x > push: #-9000000000");
}

}  // namespace
}  // namespace kelpie
