#include "agent/sessions/ReadingPace.h"

#include <gtest/gtest.h>

namespace kelpie::agent {
namespace {

using std::chrono::milliseconds;
using Time = ReadingPace::Clock::time_point;

Time at(int ms) { return Time(std::chrono::hours(1)) + milliseconds(ms); }

TEST(ReadingPace, NothingToDoWithoutAChange) { EXPECT_FALSE(ReadingPace().next()); }

TEST(ReadingPace, SoonAfterTheLastChangeOfABurst) {
  ReadingPace pace;
  pace.changed(at(0));
  pace.changed(at(30));
  EXPECT_EQ(pace.next(), at(80));
}

TEST(ReadingPace, ABurstThatDoesNotEndIsLookedInto) {
  ReadingPace pace;
  for (int ms = 0; ms < 3000; ms += 10) pace.changed(at(ms));
  EXPECT_EQ(pace.next(), at(1000));
}

TEST(ReadingPace, NeverTwoReadingsAtATime) {
  ReadingPace pace;
  pace.changed(at(0));
  pace.started(at(50));
  EXPECT_FALSE(pace.next());
  pace.changed(at(60));
  EXPECT_FALSE(pace.next());
  pace.finished(at(70), true);
  EXPECT_EQ(pace.next(), at(110));
}

TEST(ReadingPace, AChangeBeforeTheStartIsDoneWithIt) {
  ReadingPace pace;
  pace.changed(at(0));
  pace.started(at(50));
  pace.finished(at(70), true);
  EXPECT_FALSE(pace.next());
}

TEST(ReadingPace, RestsAsLongAsTheReadingTook) {
  ReadingPace pace;
  pace.started(at(0));
  pace.finished(at(400), true);
  pace.changed(at(401));
  EXPECT_EQ(pace.next(), at(800));
}

TEST(ReadingPace, ReadingsInVainMakeTheRestLonger) {
  ReadingPace pace;
  int now = 0;
  int longest = 0;
  for (int i = 0; i < 10; ++i) {
    pace.started(at(now));
    pace.finished(at(now + 100), false);
    pace.changed(at(now + 101));
    const auto next = std::chrono::duration_cast<milliseconds>(*pace.next() - at(now + 100));
    EXPECT_GE(next.count(), longest);
    longest = static_cast<int>(next.count());
    now += 100 + longest;
  }
  EXPECT_EQ(longest, 800);
  pace.started(at(now));
  pace.finished(at(now + 100), true);
  pace.changed(at(now + 101));
  EXPECT_EQ(pace.next(), at(now + 200)) << "until one finds something";
}

TEST(ReadingPace, TheRestHasAnEnd) {
  ReadingPace pace;
  int now = 0;
  for (int i = 0; i < 10; ++i) {
    pace.started(at(now));
    pace.finished(at(now + 500), false);
    pace.changed(at(now + 501));
    EXPECT_LE(*pace.next() - at(now + 500), ReadingPace::kLongestRest);
    now += 2500;
  }
}

TEST(ReadingPace, AfterAPauseThereIsNoRest) {
  ReadingPace pace;
  int now = 0;
  for (int i = 0; i < 5; ++i) {
    pace.started(at(now));
    pace.finished(at(now + 100), false);
    now += 1000;
  }
  now += 60000;
  pace.changed(at(now));
  EXPECT_EQ(pace.next(), at(now + 50));
  pace.started(at(now + 50));
  pace.finished(at(now + 150), false);
  pace.changed(at(now + 151));
  EXPECT_EQ(pace.next(), at(now + 250)) << "and what was in vain before is forgotten";
}

}  // namespace
}  // namespace kelpie::agent
