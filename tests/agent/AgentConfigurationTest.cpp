#include "agent/AgentConfiguration.h"

#include <gtest/gtest.h>

#include <string_view>

#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

class AgentConfigurationTest : public testing::Test {
 protected:
  AgentConfiguration read(std::string_view content) {
    return AgentConfiguration::read(folder_.addFile("agent.conf", content), problems_);
  }

  TemporaryFolder folder_;
  std::vector<std::string> problems_;
};

TEST_F(AgentConfigurationTest, GitIsLookedUpUnlessTheFileSaysWhereItIs) {
  EXPECT_EQ(read("[Git]\nProgram=/opt/git/bin/git\n").gitProgram, "/opt/git/bin/git");
  EXPECT_EQ(read("[Git]\nProgram=\n").gitProgram, "git");
  EXPECT_EQ(read("[Tools]\nblame=x\n").gitProgram, "git");
  EXPECT_EQ(AgentConfiguration::read(folder_ / "missing", problems_).gitProgram, "git");
  EXPECT_TRUE(problems_.empty());
}

TEST_F(AgentConfigurationTest, HowManyWorkingCopiesOfAShownFolderAreOpenedCanBeSet) {
  EXPECT_EQ(read("").neighbours, 200U);
  EXPECT_EQ(read("[Folders]\nWorkingCopies=3\n").neighbours, 3U);
  EXPECT_EQ(read("[Folders]\nWorkingCopies=0\n").neighbours, 0U);
  EXPECT_TRUE(problems_.empty());
  for (const char* wrong : {"-1", "many", "99999999999999999999999"})
    EXPECT_EQ(read("[Folders]\nWorkingCopies=" + std::string(wrong) + "\n").neighbours, 200U)
        << wrong;
  EXPECT_EQ(problems_.size(), 3U);
}

TEST_F(AgentConfigurationTest, AFileThatCannotBeReadIsSaid) {
  EXPECT_EQ(read("what is this\n").gitProgram, "git");
  ASSERT_EQ(problems_.size(), 1U);
  EXPECT_EQ(problems_[0].rfind(folder_ / "agent.conf", 0), 0U);
}

}  // namespace
}  // namespace kelpie::agent
