#include "agent/git/StatusOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace kelpie::agent {
namespace {

StatusItem item(std::string path, StatusWord word, bool isFolder = false) {
  StatusItem made;
  made.path = std::move(path);
  made.word = word;
  made.isFolder = isFolder;
  return made;
}

const std::vector<StatusItem> kInOrder = {
    item("a", KPStatusIndexDeleted),
    item("a!", KPStatusWorkdirModified),
    item("a/b", KPStatusWorkdirModified),
    item("a0", KPStatusWorkdirModified),
    item("sub", KPStatusWorkdirModified, true),  // a submodule: no slash
    item("sub.c", KPStatusWorkdirModified),
    item("\xff", KPStatusConflicted),
    item("a", KPStatusWorkdirNew),
    item("a.", KPStatusWorkdirNew),
    item("a", KPStatusWorkdirNew, true),
    item("a0", KPStatusWorkdirNew),
    item("a", KPStatusIgnored, true),
    item("b/c", KPStatusIgnored),
};

TEST(StatusOrder, IsGits) {
  EXPECT_TRUE(isInOrder(kInOrder));
  std::vector<StatusItem> shuffled = kInOrder;
  std::mt19937 random(3);
  for (int i = 0; i < 20; ++i) {
    std::ranges::shuffle(shuffled, random);
    std::ranges::sort(shuffled, comesBefore);
    EXPECT_EQ(shuffled, kInOrder);
  }
  std::swap(shuffled[2], shuffled[3]);
  EXPECT_FALSE(isInOrder(shuffled));
}

TEST(StatusOrder, ThoseAtAPathAndBelowItAreFoundInEachPart) {
  const auto within = [](const std::string& path) {
    std::vector<std::size_t> found;
    for (const ItemRange& range : itemsWithin(kInOrder, path))
      for (std::size_t i = range.begin; i < range.end; ++i) found.push_back(i);
    return found;
  };
  EXPECT_EQ(within("a"), (std::vector<std::size_t>{0, 2, 7, 9, 11}));
  EXPECT_EQ(within("a0"), (std::vector<std::size_t>{3, 10}));
  EXPECT_EQ(within("sub"), (std::vector<std::size_t>{4}));
  EXPECT_EQ(within("b"), (std::vector<std::size_t>{12}));
  EXPECT_EQ(within("\xff"), (std::vector<std::size_t>{6}));
  EXPECT_EQ(within("c"), (std::vector<std::size_t>{}));
}

TEST(StatusOrder, FoldersThatAreOneItemAreFound) {
  EXPECT_TRUE(isFolderItem(kInOrder, "a"));
  EXPECT_TRUE(isFolderItem(kInOrder, "sub"));
  for (const char* path : {"a0", "b", "b/c", "su", "a/b"})
    EXPECT_FALSE(isFolderItem(kInOrder, path)) << path;
}

}  // namespace
}  // namespace kelpie::agent
