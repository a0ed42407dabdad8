#include "agent/RefusedRepositories.h"

#include <gtest/gtest.h>

#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

class RefusedRepositoriesTest : public testing::Test {
 protected:
  WithheldPrograms kept() const { return withheldProgramsOf(file().read().values); }
  DefaultsFile file() const { return DefaultsFile(folder_ / "refused.plist"); }

  TemporaryFolder folder_;
  EventLog events_;
  FakeLog log_{events_};
};

TEST_F(RefusedRepositoriesTest, TheFileSaysWhichAreNotOpenedNow) {
  RefusedRepositories refused(file(), log_);
  refused.looked("/r", "its work tree is another folder.");
  refused.looked("/good", "");
  refused.looked("/s", "one");
  refused.looked("/s", "another");
  EXPECT_EQ(kept(),
            (WithheldPrograms{{"/r", {"its work tree is another folder."}}, {"/s", {"another"}}}));
  refused.looked("/r", "");
  EXPECT_EQ(kept(), (WithheldPrograms{{"/s", {"another"}}}));
}

TEST_F(RefusedRepositoriesTest, WhatAFormerAgentHasLeftGoes) {
  RefusedRepositories(file(), log_).looked("/r", "why");
  const RefusedRepositories next(file(), log_);
  EXPECT_EQ(kept(), WithheldPrograms());
}

}  // namespace
}  // namespace kelpie::agent
