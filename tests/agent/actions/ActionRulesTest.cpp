#include "agent/actions/ActionRules.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

#include "support/MenuActions.h"

namespace kelpie::agent {
namespace {

using Kind = ActionKind;

TEST(ActionRules, EveryActionThatTheExtensionSendsHasARuleOfItsKind) {
  const auto expectKind = [](std::string_view action, Kind kind) {
    const ActionRule* rule = ActionRules::find(action);
    ASSERT_NE(rule, nullptr) << action;
    EXPECT_EQ(rule->kind, kind) << action;
  };
  EXPECT_EQ(std::size(kRepositoryActions), 55U);
  for (const std::string_view action : kRepositoryActions) expectKind(action, Kind::Repository);
  for (const std::string_view action : kApplicationActions) expectKind(action, Kind::Application);
  for (const std::string_view action : kCreationActions) expectKind(action, Kind::Creation);
}

TEST(ActionRules, EveryRuleIsOfOneActionAndCanBeCarriedOutInOneWay) {
  std::set<std::string_view> seen;
  for (const auto group : ActionRules::all()) {
    for (const ActionRule& rule : group) {
      EXPECT_TRUE(seen.insert(rule.action).second) << rule.action;
      EXPECT_FALSE(rule.label.empty()) << rule.action;
      const int ways = (rule.work != nullptr ? 1 : 0) + (rule.git.empty() ? 0 : 1) +
                       (rule.window.empty() ? 0 : 1);
      EXPECT_EQ(ways, rule.action == "quit:" ? 0 : 1) << rule.action;
    }
  }
  EXPECT_EQ(seen.size(), 62U);
}

TEST(ActionRules, WhatNobodyKnowsHasNoRule) {
  for (const char* action : {"", "stage", "Stage:", "stage: ", "remoteRepositoryAction:"})
    EXPECT_EQ(ActionRules::find(action), nullptr) << action;
}

}  // namespace
}  // namespace kelpie::agent
