#include "linux/base/LineReader.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelpie {
namespace {

// Feeds the pieces, and tells each line and each overlong one.
std::vector<std::string> read(std::size_t limit, const std::vector<std::string>& pieces) {
  LineReader reader(limit);
  std::vector<std::string> seen;
  for (const std::string& piece : pieces) {
    reader.feed(
        piece, [&](std::string_view line) { return seen.emplace_back(line), true; },
        [&] { return seen.emplace_back("(overlong)"), true; });
  }
  return seen;
}

using Lines = std::vector<std::string>;

TEST(LineReader, CutsAtLineEndsWhereverThePiecesEnd) {
  EXPECT_EQ(read(10, {"one\ntwo\n"}), (Lines{"one", "two"}));
  EXPECT_EQ(read(10, {"o", "ne\nt", "wo", "\n"}), (Lines{"one", "two"}));
  EXPECT_EQ(read(10, {"\n\nx\n"}), (Lines{"", "", "x"}));
  EXPECT_EQ(read(10, {"no end"}), Lines{});
}

TEST(LineReader, ALineOfExactlyTheLimitPasses) {
  EXPECT_EQ(read(3, {"abc\n"}), Lines{"abc"});
  EXPECT_EQ(read(3, {"ab", "c", "\n"}), Lines{"abc"});
}

TEST(LineReader, ALongerLineIsToldOnceAndSkippedToItsEnd) {
  EXPECT_EQ(read(3, {"abcd\nef\n"}), (Lines{"(overlong)", "ef"}));
  EXPECT_EQ(read(3, {"abc", "d", "efgh", "ij\nkl\n"}), (Lines{"(overlong)", "kl"}));
  EXPECT_EQ(read(3, {"abcdefgh", "\nabcdefgh\n"}), (Lines{"(overlong)", "(overlong)"}));
}

TEST(LineReader, ANoEndsTheFeedAndDropsTheRest) {
  LineReader reader(10);
  Lines seen;
  const auto once = [&](std::string_view line) { return seen.emplace_back(line), false; };
  reader.feed("one\ntwo\nthr", once, [] { return true; });
  reader.feed("four\n", once, [] { return true; });
  EXPECT_EQ(seen, (Lines{"one", "four"}));
}

}  // namespace
}  // namespace kelpie
