#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/Mutex.h"
#include "platform/Log.h"

namespace kelpie {

// The log of a program of this system: a file descriptor, standard error by default, a line an
// event. Control characters, marks of direction, backslashes and bytes that are not UTF-8 are
// escapes such as "\n" and "\xFF", so that what came from outside can neither break a line nor
// reach the terminal. It never waits for its reader: when the reader does not keep up, lines are
// left out, and the next line that is written says how many.
class StderrLog final : public Log {
 public:
  // Longer lines are cut and end in "...": one write() of so much arrives in one piece.
  static constexpr std::size_t kLongestLine = 4000;

  // `fd` is borrowed.
  explicit StderrLog(int fd = 2) : fd_(fd) {}

  void write(std::string_view line) override;

  // The line as write() puts it out, without the line break.
  static std::string escaped(std::string_view line);

 private:
  bool tryToWrite(std::string line);

  int fd_;
  Mutex mutex_;
  std::uint64_t leftOut_ KELPIE_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelpie
