#include "e2e/soak/SoakJudge.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelpie {
namespace {

using Rule = SoakSeries::Rule;

struct SoakCase {
  const char* why;
  Rule rule;
  double bound;
  std::size_t warmUp;
  std::vector<double> values;
  bool isJudged;
  bool isRight;
};

const std::vector<SoakCase>& soakCases() {
  static const std::vector<SoakCase> all = {
      {"one descriptor more", Rule::Same, 0, 1, {15, 17, 17, 18}, true, false},
      {"one that is closed again is one more", Rule::Same, 0, 0, {17, 18, 17}, true, false},
      {"one fewer is another one, too", Rule::Same, 0, 0, {17, 17, 16}, true, false},
      {"the same each time", Rule::Same, 0, 0, {17, 17, 17}, true, true},
      {"what the warm-up held does not count", Rule::Same, 0, 2, {20, 12, 17, 17}, true, true},
      {"a zombie", Rule::AtMost, 0, 0, {0, 0, 1, 0}, true, false},
      {"as many as are allowed", Rule::AtMost, 2, 0, {0, 2, 1}, true, true},
      {"memory that grows all the time",
       Rule::Flat,
       100,
       0,
       {1000, 1050, 1100, 1150, 1200, 1250, 1300, 1350, 1400},
       true,
       false},
      {"a little each time is much in the end",
       Rule::Flat,
       20,
       0,
       {1000, 1005, 1010, 1015, 1020, 1025, 1030, 1035, 1040},
       true,
       false},
      {"a step in the middle",
       Rule::Flat,
       100,
       0,
       {1000, 1000, 1000, 1000, 1200, 1200, 1200, 1200, 1200},
       true,
       false},
      {"noise around one figure",
       Rule::Flat,
       100,
       0,
       {1000, 1090, 960, 1040, 1100, 950, 1080, 970, 1010},
       true,
       true},
      {"one high figure of a moment",
       Rule::Flat,
       100,
       0,
       {1000, 1000, 1000, 1000, 9000, 1000, 1000, 9000, 1000},
       true,
       true},
      {"one low figure at first hides nothing",
       Rule::Flat,
       100,
       0,
       {1000, 10, 1000, 1100, 1150, 1190, 1200, 1250, 1300},
       true,
       false},
      {"memory that is given back",
       Rule::Flat,
       100,
       0,
       {1400, 1350, 1300, 1250, 1200, 1150, 1100, 1050, 1000},
       true,
       true},
      {"growth of the warm-up",
       Rule::Flat,
       100,
       2,
       {100, 500, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000},
       true,
       true},
      {"too few to say anything", Rule::Flat, 100, 0, {1000, 2000, 3000, 4000}, false, true},
      {"all of them warm-up", Rule::Same, 0, 3, {1, 2, 3}, false, true},
      {"a figure that is only shown", Rule::Shown, 0, 0, {1, 2, 3}, false, true},
  };
  return all;
}

TEST(SoakJudge, SaysWhetherAFigureStaysWhatItHasToBe) {
  for (const SoakCase& row : soakCases()) {
    const SoakVerdict verdict = judge({"p", "f", row.rule, row.bound, row.values}, row.warmUp);
    EXPECT_EQ(verdict.isRight, row.isRight) << row.why << ": " << verdict.finding;
    EXPECT_EQ(verdict.isJudged, row.isJudged) << row.why << ": " << verdict.finding;
  }
}

TEST(SoakJudge, SaysWhatItHasCompared) {
  EXPECT_EQ(judge({"p", "f", Rule::Same, 0, {17, 17, 19}}, 0).finding, "17 at first, then 19");
  EXPECT_EQ(judge({"p", "f", Rule::AtMost, 1, {0, 2}}, 0).finding, "at most 2, 1 allowed");
  EXPECT_EQ(judge({"p", "f", Rule::Flat, 5, {1, 2, 3, 4, 5, 6, 7, 8, 9}}, 0).finding,
            "2 in the first third, 8 in the last, 7 allowed");
}

}  // namespace
}  // namespace kelpie
