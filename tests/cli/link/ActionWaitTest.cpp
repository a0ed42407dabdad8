#include "cli/link/ActionWait.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace kelpie::cli {
namespace {

AgentClient::Action action(const std::string& selector, const std::string& title,
                           const std::string& folder, const std::string& choice) {
  AgentClient::Action action;
  action.id = 1;
  action.action = selector;
  action.title = title;
  action.folder = folder;
  action.choice = choice;
  return action;
}

TEST(ActionWaitTest, AnActionIsKnownByItsChoice) {
  const ActionWait::Chosen chosen{"mine", "push:", "/tmp"};
  EXPECT_TRUE(ActionWait::isOf(chosen, action("push:", "main", "/tmp", "mine")));
  EXPECT_FALSE(ActionWait::isOf(chosen, action("push:", "main", "/tmp", "another's")));
  EXPECT_FALSE(ActionWait::isOf(chosen, action("push:", "main", "/tmp", "")))
      << "an equal one of a host that does not care";
}

TEST(ActionWaitTest, ANewWorkingCopyIsKnownByItsFolder) {
  const TemporaryFolder folder;
  const std::string here = folder.addFolder("here");
  const std::string elsewhere = folder.addFolder("elsewhere");
  const ActionWait::Chosen chosen{"mine", "createRepository:", folder.addLink("link", "here")};
  EXPECT_TRUE(ActionWait::isOf(chosen, action("createRepository:", "", here, "")));
  EXPECT_FALSE(ActionWait::isOf(chosen, action("createRepository:", "", elsewhere, "")));
  EXPECT_FALSE(ActionWait::isOf(chosen, action("cloneRepository:", "", here, "")));
}

}  // namespace
}  // namespace kelpie::cli
