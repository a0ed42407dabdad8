#include "agent/git/StatusParser.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {
namespace {

using namespace std::string_literals;

constexpr const char* kModes = " N... 100644 100644 100644 1111111 2222222 ";

std::string change(std::string_view letters, std::string_view path) {
  return "1 " + std::string(letters) + kModes + std::string(path) + '\0';
}

std::string renamed(std::string_view letters, std::string_view to, std::string_view from) {
  return "2 " + std::string(letters) + kModes + "R100 " + std::string(to) + '\0' +
         std::string(from) + '\0';
}

std::string conflict(std::string_view letters, std::string_view ancestor, std::string_view path) {
  return "u " + std::string(letters) + " N... " + std::string(ancestor) +
         " 100644 100644 100644 0000000 1111111 2222222 " + std::string(path) + '\0';
}

TEST(StatusParser, TheTwoLettersMakeTheWord) {
  struct Case {
    const char* letters;
    int word;
    bool isGone;
  };
  const Case cases[] = {
      {"M.", 0x0002, false}, {"A.", 0x0001, false}, {"D.", 0x0004, true},  {"T.", 0x0010, false},
      {".M", 0x0100, false}, {".D", 0x0200, true},  {".T", 0x0400, false}, {".A", 0x0080, false},
      {"MM", 0x0102, false}, {"AM", 0x0101, false}, {"AD", 0x0201, true},  {"MD", 0x0202, true},
      {"TM", 0x0110, false}, {"MT", 0x0402, false}, {"DA", 0x0084, false},
  };
  for (const Case& c : cases) {
    const auto items = parseStatus(change(c.letters, "a"));
    ASSERT_TRUE(items && items->size() == 1) << c.letters;
    EXPECT_EQ(items->front().word, c.word) << c.letters;
    EXPECT_EQ(items->front().isGone, c.isGone) << c.letters;
    EXPECT_FALSE(items->front().isFolder) << c.letters;
  }
}

TEST(StatusParser, RenamesAndCopiesKnowWhereTheyCameFrom) {
  struct Case {
    const char* letters;
    int word;
    bool isGone;
  };
  const Case cases[] = {{"R.", 0x0008, false}, {"RM", 0x0108, false}, {"RD", 0x0208, true},
                        {".R", 0x0800, false}, {"C.", 0x0001, false}, {".C", 0x0080, false}};
  for (const Case& c : cases) {
    const auto items = parseStatus(renamed(c.letters, "new name", "old name"));
    ASSERT_TRUE(items && items->size() == 1) << c.letters;
    EXPECT_EQ(items->front().path, "new name") << c.letters;
    EXPECT_EQ(items->front().renamedFrom, "old name") << c.letters;
    EXPECT_EQ(items->front().word, c.word) << c.letters;
    EXPECT_EQ(items->front().isGone, c.isGone) << c.letters;
  }
}

TEST(StatusParser, ConflictsWithoutAncestorAreTold) {
  struct Case {
    const char* letters;
    const char* ancestor;
    int word;
  };
  const Case cases[] = {
      {"UU", "100644", 0x8000}, {"DU", "100644", 0x8000}, {"UD", "100644", 0x8000},
      {"DD", "100644", 0x8000}, {"AA", "000000", 0x9000}, {"AU", "000000", 0x9000},
      {"UA", "000000", 0x9000},
  };
  for (const Case& c : cases) {
    const auto items = parseStatus(conflict(c.letters, c.ancestor, "x"));
    ASSERT_TRUE(items && items->size() == 1) << c.letters;
    EXPECT_EQ(items->front().word, c.word) << c.letters;
  }
}

TEST(StatusParser, PathsAreBytes) {
  const std::string paths[] = {
      "with space",   " leading", "trailing ", "a -> b",  "line\nend", "tab\there",
      "quote\"quote", "\xff\xfe", "-n",        "déjà vu", "# branch",  "a/b/c",
  };
  for (const std::string& path : paths) {
    for (const std::string& line : {change(".M", path), renamed("R.", path, path),
                                    conflict("UU", "100644", path), "? " + path + '\0'}) {
      const auto items = parseStatus(line);
      ASSERT_TRUE(items && items->size() == 1) << line;
      EXPECT_EQ(items->front().path, path);
    }
  }
}

TEST(StatusParser, UntrackedAndIgnoredItems) {
  const auto items = parseStatus("? a\0? nested/\0! b.o\0! build/\0"s);
  ASSERT_TRUE(items);
  const std::vector<StatusItem> want = {
      {"a", "", 0x0080, false, false},
      {"nested", "", 0x0080, true, false},
      {"b.o", "", 0x4000, false, false},
      {"build", "", 0x4000, true, false},
  };
  EXPECT_EQ(*items, want);
}

TEST(StatusParser, WhatWasTakenOutOfTheIndexButKeptIsOneItem) {
  const auto items = parseStatus(change("D.", "kept") + "? kept\0"s);
  ASSERT_TRUE(items && items->size() == 1);
  EXPECT_EQ(items->front().word, 0x0084);
  EXPECT_FALSE(items->front().isGone);
}

TEST(StatusParser, WhatWasTakenOutOfTheIndexAndIsIgnoredShowsItsDeletion) {
  const auto items = parseStatus(change("D.", "kept") + "! kept\0"s);
  ASSERT_TRUE(items && items->size() == 1);
  EXPECT_EQ(items->front().word, 0x0004);
  EXPECT_FALSE(items->front().isGone);
}

TEST(StatusParser, AFolderInTheDeletedFilesPlaceIsAnItemOfItsOwn) {
  const auto items = parseStatus(change("D.", "x") + "? x/\0"s);
  ASSERT_TRUE(items && items->size() == 2);
  EXPECT_TRUE((*items)[0].isGone);
  EXPECT_TRUE((*items)[1].isFolder);
}

TEST(StatusParser, SubmodulesAreFolders) {
  const auto items = parseStatus("1 .M SCMU 160000 160000 160000 1111111 1111111 libs/zip\0"s);
  ASSERT_TRUE(items && items->size() == 1);
  EXPECT_EQ(items->front().word, 0x0100);
  EXPECT_TRUE(items->front().isFolder);
}

TEST(StatusParser, HeadersAreLeftOut) {
  const auto items = parseStatus("# branch.oid (initial)\0# something new\0? a\0"s);
  ASSERT_TRUE(items);
  EXPECT_EQ(items->size(), 1U);
}

TEST(StatusParser, NothingIsNoItems) {
  const auto items = parseStatus("");
  ASSERT_TRUE(items);
  EXPECT_TRUE(items->empty());
}

TEST(StatusParser, WhatIsNoStatusIsRefused) {
  const std::string texts[] = {
      "fatal: something\0"s,
      "? a",  // not ended
      "1 M\0"s,
      "1 M. N... 100644\0"s,
      "1 M. N... 100644 100644 100644 1 2 \0"s,  // no path
      "1 Q. N... 100644 100644 100644 1 2 a\0"s,
      "1 MMM N... 100644 100644 100644 1 2 a\0"s,
      "2 R. N... 100644 100644 100644 1 2 R100 new\0"s,  // no former path
      "u UU N... 100644 100644\0"s,
      "? \0"s,
      "?\0"s,
      "\0"s,
  };
  for (const std::string& text : texts) EXPECT_FALSE(parseStatus(text)) << text;
}

}  // namespace
}  // namespace kelpie::agent
