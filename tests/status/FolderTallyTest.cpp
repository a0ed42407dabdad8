#include "status/FolderTally.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelpie {
namespace {

StatusWord statusOf(std::vector<StatusWord> words, std::size_t others = 0) {
  FolderTally tally(words.size() + others);
  for (const StatusWord word : words) tally.add(word);
  return tally.status();
}

TEST(FolderTally, AFolderOfOneKindHasThatKind) {
  for (const int bit : {0, 1, 2, 3, 4, 7, 8, 9, 10, 11, 15}) {
    const auto word = static_cast<StatusWord>(1U << bit);
    EXPECT_EQ(statusOf({word, word, word}), word) << bit;
  }
}

TEST(FolderTally, Mixtures) {
  struct Case {
    const char* why;
    std::vector<StatusWord> words;
    std::size_t others;
    StatusWord want;
  };
  const Case cases[] = {
      {"nothing at all", {}, 0, 0x0000},
      {"nothing counted", {}, 3, 0x0000},
      {"only current ones", {0, 0}, 0, 0x0000},
      {"bits without a meaning", {0x0020, 0x0040, 0x1000, 0x2000}, 0, 0x0000},
      {"a conflict among modified ones", {0x0100, 0x0100, 0x8000, 0x0100}, 0, 0x8000},
      {"a conflict among current ones", {0, 0x8000}, 5, 0x8000},
      {"ignored ones do not count", {0x4000, 0x4080, 0x4100}, 0, 0x0000},
      {"ignored ones leave the total", {0x0080, 0x4000}, 0, 0x0080},
      {"conflicted comes before ignored", {0xC000}, 0, 0x8000},
      {"new, and new in the index", {0x0080, 0x0001}, 0, 0x0080},
      {"new, and current", {0x0080, 0x0000}, 0, 0x0100},
      {"new, and items elsewhere", {0x0080, 0x0080}, 1, 0x0100},
      {"new, and deleted in the index", {0x0080, 0x0004}, 0, 0x0100},
      {"one modified is enough", {0x0100, 0x0080, 0x0001}, 0, 0x0100},
      {"deleted, and deleted in the index", {0x0200, 0x0004}, 0, 0x0200},
      {"deleted, and current", {0x0200, 0}, 0, 0x0100},
      {"renamed, and renamed in the index", {0x0800, 0x0008}, 0, 0x0800},
      {"renamed, and current", {0x0800, 0}, 0, 0x0100},
      {"type changed, also in the index", {0x0400, 0x0010}, 0, 0x0400},
      {"type changed, and current", {0x0400, 0}, 0, 0x0100},
      {"new in the index, and modified there", {0x0001, 0x0002}, 0, 0x0002},
      {"new in the index, and current", {0x0001, 0}, 0, 0x0002},
      {"deleted in the index, and current", {0x0004, 0}, 0, 0x0002},
      {"renamed in the index, and current", {0x0008, 0}, 0, 0x0002},
      {"type changed in the index, and current", {0x0010, 0}, 0, 0x0002},
      {"modified in the index, and current", {0x0002, 0}, 0, 0x0002},
      {"new comes before deleted", {0x0080, 0x0200}, 0, 0x0100},
      {"deleted comes before renamed", {0x0200, 0x0800, 0x0004}, 0, 0x0100},
  };
  for (const Case& c : cases) EXPECT_EQ(statusOf(c.words, c.others), c.want) << c.why;
}

// Of the flags of one word only the first in this order counts.
TEST(FolderTally, OneWordCountsOnce) {
  const int order[] = {15, 14, 8, 7, 9, 11, 10, 1, 0, 2, 3, 4};
  unsigned later = 0;
  for (int position = 11; position >= 0; --position) {
    const unsigned word = later | 1U << order[position];
    const auto alone = static_cast<StatusWord>(order[position] == 14 ? 0 : 1U << order[position]);
    EXPECT_EQ(statusOf({static_cast<StatusWord>(word)}), alone) << std::hex << word;
    later = word;
  }
}

}  // namespace
}  // namespace kelpie
