#include "agent/git/StatusMerge.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelpie::agent {
namespace {

// "M a" is a changed file, "? a" an untracked one and "! a" an ignored one; with a slash after it,
// a folder.
std::vector<StatusItem> items(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines)
    text += (line.starts_with("M ") ? "1 .M N... 1 1 1 x y " + line.substr(2) : line) + '\0';
  return parseStatus(text).value();
}

TEST(StatusMerge, TheAnswerTakesThePlaceOfWhatWasKnown) {
  struct Case {
    const char* why;
    std::vector<std::string> known, paths, answer, merged;
  };
  const Case cases[] = {
      {"into nothing", {}, {"a"}, {"M a"}, {"M a"}},
      {"nothing is left", {"M a", "? b"}, {"a", "b"}, {}, {}},
      {"one item", {"M a", "M b", "M c"}, {"b"}, {}, {"M a", "M c"}},
      {"between others",
       {"M a", "M c", "? x"},
       {"b"},
       {"M b", "? b"},
       {"M a", "M b", "M c", "? b", "? x"}},
      {"it is of another kind now", {"M a", "? b", "! c"}, {"b"}, {"! b"}, {"M a", "! b", "! c"}},
      {"a folder with all in it",
       {"M a/b", "M a/c", "M a0", "? a/x", "! a/o/"},
       {"a"},
       {"? a"},
       {"M a0", "? a"}},
      {"neighbours stay",
       {"M a", "M a!", "M a/b", "M a0"},
       {"a"},
       {"M a/c"},
       {"M a!", "M a/c", "M a0"}},
      {"at the end", {"M a", "! b"}, {"c"}, {"! c"}, {"M a", "! b", "! c"}},
      {"several places", {"M a", "M c", "M e"}, {"a", "e"}, {"M e", "? a"}, {"M c", "M e", "? a"}},
      {"what git names elsewhere is dropped",
       {"! out/"},
       {"f"},
       {"? f", "! else/"},
       {"? f", "! out/"}},
      {"a folder that is one item", {"M o", "? n/"}, {"n"}, {"? n/f"}, {"M o", "? n/f"}},
  };
  for (const Case& each : cases) {
    const auto merged = mergeStatus(items(each.known), each.paths, items(each.answer));
    ASSERT_TRUE(merged) << each.why;
    EXPECT_EQ(*merged, items(each.merged)) << each.why;
  }
}

TEST(StatusMerge, AnAnswerThatNeedsTheWholeIsNotTaken) {
  struct Case {
    const char* why;
    std::string answer;
  };
  const Case cases[] = {
      {"a rename", std::string("2 R. N... 1 1 1 x y R100 a/b\0a/c\0", 33)},
      {"an announced file", std::string("1 .A N... 1 1 1 x y a/b\0", 24)},
      {"the folder around is one item", std::string("! a/\0", 5)},
      {"a conflict", std::string("u UU N... 1 1 1 1 x y z a/b\0", 28)},
  };
  for (const Case& each : cases) {
    const auto answer = parseStatus(each.answer);
    ASSERT_TRUE(answer) << each.why;
    EXPECT_FALSE(mergeStatus({}, {"a/b"}, *answer)) << each.why;
  }
}

TEST(StatusMerge, WhileThereAreConflictsADeletedFileNeedsTheWhole) {
  const std::string conflict = "u UU N... 1 1 1 1 x y z c";
  const std::string missing = "1 .D N... 1 1 0 x y a";
  EXPECT_FALSE(mergeStatus(items({conflict}), {"a"}, items({missing})));
  EXPECT_EQ(mergeStatus(items({conflict}), {"a"}, items({"M a"})), items({"M a", conflict}));
  EXPECT_EQ(mergeStatus({}, {"a"}, items({missing})), items({missing}));
}

TEST(StatusMerge, ADifferenceIsToldWithItsFirstItem) {
  EXPECT_EQ(differenceBetween(items({"M a", "? b"}), items({"M a", "? b"})), "");
  EXPECT_EQ(differenceBetween(items({"M a", "? b"}), items({"M a"})), "1, the first of them b");
  EXPECT_EQ(differenceBetween(items({"? a"}), items({"M a", "! c"})), "3, the first of them a");
  // A whole status has its conflicts behind the other changes, one of parts has all in order.
  const std::string conflict = "u UU N... 1 1 1 1 x y z a";
  EXPECT_EQ(differenceBetween(items({conflict, "M b"}), items({"M b", conflict})), "");
  EXPECT_EQ(differenceBetween(items({conflict, "M b"}), items({"M b", "M c", conflict})),
            "1, the first of them c");
  std::vector<StatusItem> renamed = items({"M a"});
  renamed.front().renamedFrom = "b";
  EXPECT_NE(differenceBetween(items({"M a"}), renamed), "");
}

}  // namespace
}  // namespace kelpie::agent
