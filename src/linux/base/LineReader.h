#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/FunctionRef.h"

namespace kelpie {

// Cuts a stream of bytes into lines that end in "\n". A line longer than the limit is reported once
// and skipped to its end, so that a peer cannot make the process keep more than the limit. Used on
// one thread.
class LineReader {
 public:
  explicit LineReader(std::size_t maximumLength) : maximumLength_(maximumLength) {}

  // Takes the next bytes of the stream. Calls `onLine` for each line that they complete (without
  // its "\n"; borrowed for the call) and `onOverlong` once for each line beyond the limit. Either
  // returns whether to go on; what is left over after a "no" is dropped.
  void feed(std::string_view bytes, FunctionRef<bool(std::string_view line)> onLine,
            FunctionRef<bool()> onOverlong);

 private:
  std::size_t maximumLength_;
  std::string partial_;    // the beginning of a line whose end has not come
  bool skipping_ = false;  // inside a line that was too long
};

}  // namespace kelpie
