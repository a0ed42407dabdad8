#include "cli/text/PrintableText.h"

#include <gtest/gtest.h>

namespace kelpie::cli {
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

}  // namespace
}  // namespace kelpie::cli
