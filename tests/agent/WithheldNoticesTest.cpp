#include "agent/WithheldNotices.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "agent/FakeNotifier.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

class WithheldNoticesTest : public testing::Test {
 protected:
  WithheldPrograms kept() const { return withheldProgramsOf(file().read().values); }
  DefaultsFile file() const { return DefaultsFile(folder_ / "withheld.plist"); }

  TemporaryFolder folder_;
  EventLog events_;
  FakeLog log_{events_};
  FakeNotifier notifier_;
  WithheldNotices notices_{file(), log_, notifier_};
  const std::vector<std::string> programs_ = {"core.fsmonitor: /bin/x", "filter.y.clean: y"};
};

TEST_F(WithheldNoticesTest, TheUserIsToldOnceOfEachRepository) {
  notices_.changed("/r", programs_);
  notices_.changed("/r", {});
  notices_.changed("/r", programs_);
  ASSERT_EQ(notifier_.shown.size(), 1U);
  const std::string& text = notifier_.shown.front().text;
  for (const char* part : {"/r", "core.fsmonitor: /bin/x", "filter.y.clean: y", "kelpie trust /r"})
    EXPECT_NE(text.find(part), std::string::npos) << part;
  notices_.changed("/s", programs_);
  EXPECT_EQ(notifier_.shown.size(), 2U);
}

TEST_F(WithheldNoticesTest, TheFileSaysWhatIsWithheldNow) {
  notices_.changed("/r", programs_);
  notices_.changed("/s", {"core.fsmonitor: z"});
  EXPECT_EQ(kept(), (WithheldPrograms{{"/r", programs_}, {"/s", {"core.fsmonitor: z"}}}));
  notices_.changed("/r", {});
  EXPECT_EQ(kept(), (WithheldPrograms{{"/s", {"core.fsmonitor: z"}}}));
}

TEST_F(WithheldNoticesTest, WhatAFormerAgentHasLeftGoes) {
  notices_.changed("/r", programs_);
  const WithheldNotices next(file(), log_, notifier_);
  EXPECT_EQ(kept(), WithheldPrograms());
}

TEST_F(WithheldNoticesTest, AFolderFullOfThemIsNotToldOneByOne) {
  for (int i = 0; i < 30; ++i) notices_.changed("/r" + std::to_string(i), programs_);
  EXPECT_EQ(notifier_.shown.size(), 20U);
  EXPECT_EQ(kept().size(), 30U) << "the doctor names them all";
}

TEST_F(WithheldNoticesTest, ANameCannotForgeTheNotice) {
  notices_.changed("/r\nAll is well\u202E", {"core.fsmonitor: x\ny"});
  ASSERT_EQ(notifier_.shown.size(), 1U);
  EXPECT_EQ(notifier_.shown.front().text.find("\nAll is well"), std::string::npos)
      << notifier_.shown.front().text;
  EXPECT_EQ(notifier_.shown.front().text.find("\ny"), std::string::npos);
}

}  // namespace
}  // namespace kelpie::agent
