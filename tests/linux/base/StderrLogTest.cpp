#include "linux/base/StderrLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "linux/base/UniqueFd.h"

namespace kelpie {
namespace {

struct Pipe {
  UniqueFd reader;
  UniqueFd writer;

  Pipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    reader.reset(ends[0]);
    writer.reset(ends[1]);
    // The log itself must not need this.
    EXPECT_EQ(::fcntl(writer.get(), F_SETFL, 0), 0);
  }

  std::string readAll() const {
    std::string text;
    std::array<char, 65536> part{};
    for (;;) {
      const ssize_t count = ::read(reader.get(), part.data(), part.size());
      if (count <= 0) return text;
      text.append(part.data(), static_cast<std::size_t>(count));
    }
  }
};

TEST(StderrLog, AnEventIsALine) {
  const Pipe pipe;
  StderrLog log(pipe.writer.get());
  log.write("one");
  log.write("two\nlines");
  EXPECT_EQ(pipe.readAll(), "one\ntwo\\nlines\n");
}

TEST(StderrLog, WhatCouldHarmATerminalIsEscaped) {
  struct Case {
    const char* why;
    std::string_view line;
    std::string_view want;
  };
  const Case cases[] = {
      {"plain text stays", "caf\xC3\xA9 \xF0\x9F\x90\x95", "caf\xC3\xA9 \xF0\x9F\x90\x95"},
      {"nothing", "", ""},
      {"a terminal's escape", "\x1B[31m", "\\x1B[31m"},
      {"a carriage return", "a\rb", "a\\x0Db"},
      {"a tab", "a\tb", "a\\tb"},
      {"a NUL", std::string_view("a\0b", 3), "a\\x00b"},
      {"delete", "\x7F", "\\x7F"},
      {"a backslash, so that escapes can be told", "a\\n", "a\\\\n"},
      {"a byte that is not UTF-8", "a\xFFz", "a\\xFFz"},
      {"the one-byte escape of terminals in UTF-8", "\xC2\x9B", "\\xC2\\x9B"},
      {"the first character after those", "\xC2\xA0", "\xC2\xA0"},
  };
  for (const Case& c : cases) EXPECT_EQ(StderrLog::escaped(c.line), c.want) << c.why;
}

TEST(StderrLog, ALongLineIsCut) {
  const std::string line = StderrLog::escaped(std::string(1U << 20U, '\x01'));
  EXPECT_LE(line.size(), StderrLog::kLongestLine);
  EXPECT_TRUE(line.ends_with("..."));
}

TEST(StderrLog, NobodyWaitsForAReaderWhoDoesNotKeepUp) {
  const Pipe pipe;
  StderrLog log(pipe.writer.get());
  const std::string line(1000, 'x');
  for (int i = 0; i < 1000; ++i) log.write(line);
  const std::string read = pipe.readAll();
  const auto arrived = std::count(read.begin(), read.end(), '\n');
  ASSERT_GT(arrived, 0);
  ASSERT_LT(arrived, 1000);
  log.write("again");
  EXPECT_EQ(pipe.readAll(), std::to_string(1000 - arrived) + " log lines were left out\nagain\n");
}

}  // namespace
}  // namespace kelpie
