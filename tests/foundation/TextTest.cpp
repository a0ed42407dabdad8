#include "foundation/Text.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(Text, SequenceLengths) {
  struct Case {
    const char* why;
    std::string_view text;
    std::size_t want;
  };
  const Case cases[] = {
      {"nothing", "", 0},
      {"ASCII", "a", 1},
      {"NUL is ASCII", std::string_view("\0", 1), 1},
      {"the highest ASCII", "\x7F", 1},
      {"two bytes", "\xC3\xA4z", 2},
      {"the lowest of two", "\xC2\x80", 2},
      {"an overlong two", "\xC1\xBF", 0},
      {"three bytes", "\xE2\x82\xAC", 3},
      {"an overlong three", "\xE0\x9F\xBF", 0},
      {"the lowest of three", "\xE0\xA0\x80", 3},
      {"the last before the surrogates", "\xED\x9F\xBF", 3},
      {"a surrogate", "\xED\xA0\x80", 0},
      {"the first after the surrogates", "\xEE\x80\x80", 3},
      {"four bytes", "\xF0\x9F\x90\x95", 4},
      {"an overlong four", "\xF0\x8F\xBF\xBF", 0},
      {"the highest of all", "\xF4\x8F\xBF\xBF", 4},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80", 0},
      {"no lead byte", "\xF5\x80\x80\x80", 0},
      {"a continuation by itself", "\x80", 0},
      {"cut off after one", "\xC3", 0},
      {"cut off after two", "\xE2\x82", 0},
      {"cut off after three", "\xF0\x9F\x90", 0},
      {"a third byte that continues nothing", "\xE2\x82z", 0},
  };
  for (const Case& c : cases) EXPECT_EQ(utf8SequenceLength(c.text), c.want) << c.why;
}

TEST(Text, EachByteThatIsNotUtf8ShowsAsOneReplacement) {
  struct Case {
    const char* why;
    std::string_view bytes;
    std::string_view want;
  };
  const Case cases[] = {
      {"nothing", "", ""},
      {"plain text stays", "caf\xC3\xA9.txt", "caf\xC3\xA9.txt"},
      {"Latin-1", "caf\xE9.txt", "caf\xEF\xBF\xBD.txt"},
      {"a sequence cut off is two bytes", "\xE2\x82", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"a surrogate is three bytes", "\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"what follows a bad byte is read anew", "\xC3\xC3\xA9", "\xEF\xBF\xBD\xC3\xA9"},
      {"U+FFFD itself stays", "\xEF\xBF\xBD", "\xEF\xBF\xBD"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(displayText(c.bytes), c.want) << c.why;
    EXPECT_TRUE(isUtf8(displayText(c.bytes))) << c.why;
    EXPECT_EQ(isUtf8(c.bytes), c.bytes == c.want) << c.why;
  }
}

}  // namespace
}  // namespace kelpie
