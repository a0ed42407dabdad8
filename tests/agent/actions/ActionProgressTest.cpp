#include "agent/actions/ActionProgress.h"

#include <gtest/gtest.h>

#include "agent/FakeNotifier.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"

namespace kelpie::agent {
namespace {

constexpr std::chrono::seconds kLongEnough(30);

class ActionProgressTest : public testing::Test {
 protected:
  ActionInfo& add(std::uint64_t id, const char* label, ActionInfo::State state) {
    ActionInfo info;
    info.id = id;
    info.label = label;
    info.folder = "/r";
    info.state = state;
    actions.push_back(info);
    progress.began(info);
    return actions.back();
  }
  bool runUntil(const std::function<bool()>& done) { return loop.runUntil(done, kLongEnough); }

  EventLog events;
  FakeLog log{events};
  MainLoop loop{log};
  FakeNotifier notifier;
  std::vector<ActionInfo> actions;
  std::vector<std::uint64_t> cancelled;
  ActionProgress progress{
      loop,
      notifier,
      {[this] { return actions; }, [this](std::uint64_t id) { cancelled.push_back(id); }},
      std::chrono::milliseconds(1)};
};

TEST_F(ActionProgressTest, WhatTakesLongIsShownWithAButtonThatCallsItOff) {
  add(7, "Push", ActionInfo::State::Running);
  ASSERT_TRUE(runUntil([&] { return !notifier.offered.empty(); }));
  EXPECT_EQ(notifier.offered[0].title, "Push is still running");
  EXPECT_EQ(notifier.offered[0].text, "/r");
  EXPECT_EQ(notifier.offered[0].button.label, "Cancel");
  notifier.offered[0].button.pressed();
  EXPECT_EQ(cancelled, std::vector<std::uint64_t>{7});
}

TEST_F(ActionProgressTest, WhatHasEndedIsTakenBack) {
  const ActionInfo push = add(7, "Push", ActionInfo::State::Running);
  ASSERT_TRUE(runUntil([&] { return !notifier.offered.empty(); }));
  progress.over(push);
  EXPECT_TRUE(notifier.offered.empty());
}

TEST_F(ActionProgressTest, WhatWaitsSaysForWhat) {
  add(1, "Discard", ActionInfo::State::Asking);
  add(2, "Stage", ActionInfo::State::Waiting);
  ASSERT_TRUE(runUntil([&] { return !notifier.offered.empty(); }));
  EXPECT_EQ(notifier.offered[0].title, "Stage has to wait");
  EXPECT_EQ(notifier.offered[0].text, "/r\nDiscard still waits for your answer.");
  EXPECT_EQ(notifier.offered.size(), 1U) << "an open question is told of by itself";
  actions[0].state = ActionInfo::State::Running;
  EXPECT_TRUE(runUntil([&] { return notifier.offered.size() == 2; })) << "but not what follows it";
}

}  // namespace
}  // namespace kelpie::agent
