#include "foundation/PrintableText.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(PrintableText, WhatSteersATerminalIsEscaped) {
  struct Case {
    const char* why;
    std::string bytes;
    std::string utf8;
    std::string ascii;
  };
  const Case cases[] = {
      {"plain text", "a b/c~", "a b/c~", "a b/c~"},
      {"letters of others", "ä漢", "ä漢", "\\xc3\\xa4\\xe6\\xbc\\xa2"},
      {"the ellipsis of titles", "Commit…", "Commit…", "Commit..."},
      {"an escape sequence", "\033[2J", "\\x1b[2J", "\\x1b[2J"},
      {"line ends", "a\nb\r\tc", "a\\x0ab\\x0d\\x09c", "a\\x0ab\\x0d\\x09c"},
      {"a zero byte", std::string("a\0b", 3), "a\\x00b", "a\\x00b"},
      {"delete", "\x7f", "\\x7f", "\\x7f"},
      {"the control characters of the upper half",
       "\xc2\x9b"
       "2J",
       "\\xc2\\x9b2J", "\\xc2\\x9b2J"},
      {"another direction of writing",
       "a\xe2\x80\xae"
       "b",
       "a\\xe2\\x80\\xaeb", "a\\xe2\\x80\\xaeb"},
      {"a line separator", "\xe2\x80\xa8", "\\xe2\\x80\\xa8", "\\xe2\\x80\\xa8"},
      {"bytes that are not UTF-8", "a\xff\xc3", "a\\xff\\xc3", "a\\xff\\xc3"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(printableText(c.bytes, true), c.utf8) << c.why;
    EXPECT_EQ(printableText(c.bytes, false), c.ascii) << c.why;
  }
}

TEST(PrintableText, EveryMarkOfDirectionAndEveryControlCharacterIsTakenOut) {
  const char* const kMarks[] = {"\u061C", "\u200E", "\u200F", "\u2028", "\u2029",
                                "\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
                                "\u2066", "\u2067", "\u2068", "\u2069", "\u0085"};
  for (const char* mark : kMarks) {
    EXPECT_EQ(printableTitle(mark), "\uFFFD");
    EXPECT_EQ(printableLines(mark).find(mark), std::string::npos);
  }
  for (char c = 1; c < ' '; ++c)
    EXPECT_EQ(printableTitle(std::string("a") + c + "b"), "a\uFFFDb") << int{c};
}

TEST(PrintableText, ATitleKeepsWhatIsOrdinary) {
  for (const char* title : {"Stage \"a.txt\"", "Commit…", "ä漢 \U0001F600", "العربية", "a\\nb", ""})
    EXPECT_EQ(printableTitle(title), title);
  EXPECT_EQ(printableTitle("a\xff\xc3"), "a\uFFFD\uFFFD");
}

TEST(PrintableText, LinesStayLines) {
  EXPECT_EQ(printableLines("one\r\n\ttwo\n\033[2J\u202E"), "one\n two\n\\x1b[2J\\xe2\\x80\\xae");
}

}  // namespace
}  // namespace kelpie
