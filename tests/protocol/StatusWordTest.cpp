#include "protocol/StatusWord.h"

#include <gtest/gtest.h>

#include <string>

#include "status/WordOracle.h"

namespace kelpie {
namespace {

TEST(StatusWord, EveryWordAnswersAsTheRulesSay) {
  for (unsigned s = 0; s <= 0xFFFF; ++s) {
    const auto word = static_cast<StatusWord>(s);
    ASSERT_EQ(isStagedStatus(word), oracle::staged(s)) << std::hex << s;
    ASSERT_EQ(isUnstagedStatus(word), oracle::unstaged(s)) << std::hex << s;
    ASSERT_EQ(isDiffableStatus(word), oracle::diffable(s)) << std::hex << s;
    ASSERT_EQ(isDiscardableStatus(word), oracle::diffable(s)) << std::hex << s;
    ASSERT_EQ(isRevertableStatus(word), oracle::revertable(s)) << std::hex << s;
    ASSERT_EQ(isTrackedStatus(word), oracle::tracked(s)) << std::hex << s;
    ASSERT_EQ(conflictOfStatus(word), oracle::conflict(s)) << std::hex << s;
  }
}

// One row per word: the letters of the questions that hold.
std::string questionsThatHold(StatusWord word) {
  std::string letters;
  if (isStagedStatus(word)) letters += "staged ";
  if (isUnstagedStatus(word)) letters += "unstaged ";
  if (isDiffableStatus(word)) letters += "diffable ";
  if (isDiscardableStatus(word)) letters += "discardable ";
  if (isRevertableStatus(word)) letters += "revertable ";
  if (isTrackedStatus(word)) letters += "tracked ";
  if (conflictOfStatus(word) != 0) letters += std::to_string(conflictOfStatus(word)) + " ";
  return letters;
}

TEST(StatusWord, RangesAreOverTheWholeWord) {
  struct Case {
    const char* why;
    StatusWord word;
    const char* want;
  };
  const Case cases[] = {
      {"current", 0x0000, "revertable tracked "},
      {"staged and changed again", 0x0102, "unstaged diffable discardable revertable tracked "},
      {"untracked", 0x0080, "unstaged diffable discardable tracked "},
      {"conflict without ancestor", 0x9000, "diffable discardable -1 "},
      {"conflict", 0x8000, "diffable discardable 1 "},
      {"conflict and changed", 0x8100, "diffable discardable 1 "},
      {"first word of the gap", 0x0040, "diffable discardable revertable tracked "},
      {"last word of the gap", 0x007F, "diffable discardable tracked "},
      {"above the index flags", 0x0020, "staged diffable discardable revertable tracked "},
      {"bit 13", 0x2000, ""},
      {"ignored", 0x4000, ""},
  };
  for (const Case& c : cases) EXPECT_EQ(questionsThatHold(c.word), c.want) << c.why;
}

}  // namespace
}  // namespace kelpie
