#include <gtest/gtest.h>

#include <string_view>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class CreationActionsTest : public ActionFixture {
 protected:
  ActionOutcome create(std::string_view action, std::string_view folder) {
    ActionRequest creation = request(action);
    creation.paths = {sandbox.path(folder)};
    return run(creation, ActionContext());
  }
};

TEST_F(CreationActionsTest, ClonesIntoAnEmptyFolder) {
  sandbox.makeFolder("empty");
  answer({sandbox.path("r")});
  expectDone(create("clone:", "empty"));
  EXPECT_EQ(sandbox.read("empty/a"), "one\n");
}

TEST_F(CreationActionsTest, ClonesIntoAFolderBesideWhatIsThere) {
  sandbox.write("full/x", "");
  answer({sandbox.path("r")});
  expectDone(create("clone:", "full"));
  EXPECT_EQ(sandbox.read("full/r/a"), "one\n");
}

TEST_F(CreationActionsTest, AnAddressThatLooksLikeAnOptionIsNone) {
  sandbox.makeFolder("empty");
  answer({"--upload-pack=touch owned"});
  EXPECT_EQ(create("clone:", "empty").end, ActionOutcome::End::Failed);
  answer({"ext::sh -c 'touch owned'"});
  EXPECT_EQ(create("clone:", "empty").end, ActionOutcome::End::Failed);
  EXPECT_FALSE(sandbox.exists("empty/owned"));
}

TEST_F(CreationActionsTest, CloneNeedsAnAddress) {
  sandbox.makeFolder("empty");
  answer({"no"});
  expectCancelled(create("clone:", "empty"));
  removeDialogs();
  expectFailed(create("clone:", "empty"), "no way to ask");
}

TEST_F(CreationActionsTest, MakesARepository) {
  sandbox.makeFolder("new");
  expectDone(create("createRepository:", "new"));
  EXPECT_TRUE(sandbox.exists("new/.git/HEAD"));
}

TEST_F(CreationActionsTest, AFolderThatIsGoneIsSaidSo) {
  expectFailed(create("createRepository:", "gone"), "gone");
  EXPECT_FALSE(sandbox.exists("gone"));
}

}  // namespace
}  // namespace kelpie::agent
