#include <gtest/gtest.h>

#include <string>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

class SubmoduleActionsTest : public ActionFixture {
 protected:
  void SetUp() override {
    ActionFixture::SetUp();
    sandbox.init("lib.git");
    sandbox.write("lib.git/x", "one\n");
    sandbox.commitAll("lib.git", "one");
  }
  void addModule() const {
    sandbox.git("r", {"submodule", "--quiet", "add", sandbox.path("lib.git"), "deep/lib"});
    sandbox.commitAll("r", "submodule");
  }
};

TEST_F(SubmoduleActionsTest, AddsASubmoduleAndProposesItsFolder) {
  answer({sandbox.path("lib.git"), "deep/lib"});
  expectDone(run(request("addSubmodule:")));
  EXPECT_NE(asked().find("--entry-text=lib\n"), std::string::npos);
  EXPECT_EQ(status(), "A  .gitmodules\nA  deep/lib");
  EXPECT_TRUE(sandbox.exists("r/deep/lib/x"));
}

TEST_F(SubmoduleActionsTest, ASubmoduleOutsideTheWorkingCopyIsRefusedByGit) {
  answer({sandbox.path("lib.git"), "../outside"});
  expectFailed(run(request("addSubmodule:")), "outside");
  EXPECT_FALSE(sandbox.exists("outside"));
}

TEST_F(SubmoduleActionsTest, DeletesASubmoduleAfterAskingAndKeepsItsRepository) {
  addModule();
  sandbox.write("r/deep/lib/x", "changed\n");
  answer({"no"});
  expectCancelled(run(request("deleteSubmodules:", "deep/lib", 0)));
  EXPECT_TRUE(sandbox.exists("r/deep/lib/x"));
  answer({"yes"});
  expectDone(run(request("deleteSubmodules:", "deep/lib", 0)));
  EXPECT_FALSE(sandbox.exists("r/deep/lib"));
  EXPECT_TRUE(sandbox.exists("r/.git/modules/deep/lib"));
  EXPECT_EQ(sandbox.git("r", {"ls-files", "deep"}), "");
}

TEST_F(SubmoduleActionsTest, WhatADeletedSubmoduleHeldIsCountedAndPutAside) {
  addModule();
  sandbox.write("r/deep/lib/x", "changed\n");
  sandbox.write("r/deep/lib/new", "mine\n");
  answer({"yes"});
  expectDone(run(request("deleteSubmodules:", "deep/lib", 0)));
  EXPECT_NE(asked().find("2 changed item(s) in it"), std::string::npos);
  EXPECT_EQ(
      sandbox.git("r/.git/modules/deep/lib", {"show", "refs/kelpie/kept/main/00000001:files/new"}),
      "mine");
}

TEST_F(SubmoduleActionsTest, AnotherTitleThanTheSubmodulesNameIsRefused) {
  addModule();
  answer({"yes"});
  expectFailed(run(request("deleteSubmodules:", "lib", 0)), "changed");
  EXPECT_TRUE(sandbox.exists("r/deep/lib/x"));
}

TEST_F(SubmoduleActionsTest, ItsSettingsOpenInItsFolder) {
  addModule();
  addProgram("git-gui");
  expectDone(run(request("showSubmoduleSettings:", "deep/lib", 0)));
  EXPECT_EQ(sandbox.read("git-gui").substr(0, sandbox.path("r/deep/lib\n").size()),
            sandbox.path("r/deep/lib\n"));
  sandbox.git("r", {"submodule", "--quiet", "deinit", "-f", "deep/lib"});
  expectFailed(run(request("showSubmoduleSettings:", "deep/lib", 0)), "not checked out");
}

}  // namespace
}  // namespace kelpie::agent
