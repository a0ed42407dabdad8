#include "menus/SelectionDescription.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "MenuFixture.h"
#include "foundation/MemoFileSystem.h"
#include "support/MenuDescription.h"

namespace kelpie {
namespace {

class SelectionDescription : public testing::Test {
 protected:
  Selection describeTargets(const std::vector<URL>& targets) {
    return describeSelection(targets, fixture_.repository.get(), *fixture_.system.files);
  }

  MenuFixture fixture_;
};

// Which lists one item is in, as letters: staged, unstaged, diffable, discardable ("x"),
// revertable, tracked, conflicted; "!" for a conflict without an ancestor.
std::string lettersOf(const Selection& selection) {
  std::string letters;
  const auto add = [&letters](const Object& list, char letter) {
    if (list.size() > 0) letters += letter;
  };
  add(selection.staged, 's');
  add(selection.unstaged, 'u');
  add(selection.diffable, 'd');
  add(selection.discardable, 'x');
  add(selection.revertable, 'r');
  add(selection.tracked, 't');
  add(selection.conflicted, 'c');
  if (!selection.hasAncestor) letters += '!';
  return letters;
}

TEST_F(SelectionDescription, EachWordPutsTheItemIntoItsLists) {
  struct Case {
    StatusWord word;
    std::string_view want;
  };
  const Case cases[] = {
      {0x0000, "rt"},     // unchanged
      {0x0001, "sdxt"},   // new in the index
      {0x0002, "sdxrt"},  // modified in the index
      {0x0080, "udxt"},   // untracked
      {0x0100, "udxrt"},  // modified
      {0x0102, "udxrt"},  // staged, and modified again
      {0x4000, ""},       // ignored
      {0x8000, "dxc"},    // conflicted
      {0x9000, "dxc!"},   // conflicted, without an ancestor
  };
  for (const Case& c : cases) {
    fixture_.setStatus(*fixture_.repository, {{"/repo/a", c.word}});
    EXPECT_EQ(lettersOf(describeTargets(MenuFixture::urls({"/repo/a"}))), c.want) << c.word;
  }
}

TEST_F(SelectionDescription, TheListsKeepTheOrderOfTheSelection) {
  fixture_.setStatus(
      *fixture_.repository,
      {{"/repo/a", 0x0002}, {"/repo/b", 0x0100}, {"/repo/c", 0x0002}, {"/repo/d", 0x8000}});
  const Selection selection =
      describeTargets(MenuFixture::urls({"/repo/d", "/repo/c", "/repo/b", "/repo/a"}));
  EXPECT_EQ(namesOf(selection.staged), "c a");
  EXPECT_EQ(namesOf(selection.unstaged), "b");
  EXPECT_EQ(namesOf(selection.diffable), "d c b a");
  EXPECT_EQ(namesOf(selection.discardable), "d c b a");
  EXPECT_EQ(namesOf(selection.revertable), "c b a");
  EXPECT_EQ(namesOf(selection.tracked), "c b a");
  EXPECT_EQ(namesOf(selection.conflicted), "d");
  EXPECT_TRUE(selection.hasAncestor);
}

TEST_F(SelectionDescription, OneConflictWithoutAncestorCountsForAll) {
  fixture_.setStatus(*fixture_.repository,
                     {{"/repo/a", 0x8000}, {"/repo/b", 0x9000}, {"/repo/c", 0x8000}});
  const Selection selection = describeTargets(MenuFixture::urls({"/repo/a", "/repo/b", "/repo/c"}));
  EXPECT_FALSE(selection.hasAncestor);
  EXPECT_EQ(namesOf(selection.conflicted), "a b c");
}

TEST_F(SelectionDescription, AnItemWithoutAnEntryIsInNoList) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x0100}});
  fixture_.system.files->addFile("/repo/unknown");
  EXPECT_EQ(lettersOf(describeTargets(MenuFixture::urls({"/repo/unknown", "/repo/gone"}))), "");
}

TEST_F(SelectionDescription, APlaceholderIsFoundByItsPath) {
  const std::string path = "/repo/b.txt \x0e.kelpieDeleted";
  fixture_.repository->setStatus(Dictionary{{path, Objects{0x0200, path}}});
  EXPECT_EQ(lettersOf(describeTargets(MenuFixture::urls({path}))), "udxrt");
}

TEST_F(SelectionDescription, WithoutARepositoryNothingIsAsked) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x9000}});
  fixture_.system.files->forgetCounts();
  const Selection selection =
      describeSelection(MenuFixture::urls({"/repo/a"}), nullptr, *fixture_.system.files);
  EXPECT_EQ(lettersOf(selection), "");
  EXPECT_EQ(fixture_.system.files->lookUps(), 0U);
}

TEST_F(SelectionDescription, EachTargetIsLookedUpOnce) {
  fixture_.setStatus(*fixture_.repository, {{"/repo/a", 0x0100}, {"/repo/b", 0x0002}});
  fixture_.system.files->forgetCounts();
  describeTargets(MenuFixture::urls({"/repo/a", "/repo/b"}));
  EXPECT_EQ(fixture_.system.files->lookUps("/repo/a"), 1U);
  EXPECT_EQ(fixture_.system.files->lookUps("/repo/b"), 1U);
}

}  // namespace
}  // namespace kelpie
