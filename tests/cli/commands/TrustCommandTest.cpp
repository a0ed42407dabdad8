#include <gtest/gtest.h>

#include <string>

#include "cli/CommandTest.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/WithheldPrograms.h"

namespace kelpie::cli {
namespace {

using TrustCommandTest = CommandTest;

TEST_F(TrustCommandTest, RepositoriesAreAddedListedAndRemoved) {
  const std::string one = home.addFolder("one");
  home.addFolder("one/.git");
  const std::string two = home.addFolder("two");
  home.addFile("two/.git", "gitdir: elsewhere\n");
  EXPECT_EQ(run({"trust", one}).status, 0);
  EXPECT_EQ(run({"trust", "add", one, two}).status, 0);
  EXPECT_EQ(run({"trust", "list"}).out, one + "\n" + two + "\n");
  EXPECT_EQ(run({"trust", "list", "--json"}).out, "[\n  \"" + one + "\",\n  \"" + two + "\"\n]\n");
  EXPECT_EQ(run({"trust", "remove", one}).status, 0);
  EXPECT_EQ(run({"trust", "list"}).out, two + "\n");
  // One that is gone can still be removed.
  EXPECT_EQ(run({"trust", "remove", home / "gone"}).status, 1);
}

TEST_F(TrustCommandTest, AFolderOfRepositoriesIsNone) {
  home.addFolder("all/one/.git");
  const Result result = run({"trust", home / "all"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: " + (home / "all") + ": is not the folder of a repository\n");
  EXPECT_EQ(run({"trust", "list"}).out, "");
  EXPECT_EQ(run({"trust"}).status, 2);
}

}  // namespace
}  // namespace kelpie::cli
