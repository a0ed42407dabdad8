#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/AllocationMeter.h"

namespace kelpie {

// What is spent between its making and the questions, counted rather than timed, so that a bound on
// it holds on a machine under load as well. A step is a comparison of the instrumented code, or 16
// bytes that are searched, compared or taken from the heap: what copies and searches is not
// instrumented itself. One thread.
class ReadingCost {
 public:
  // What a reading of so many bytes may cost: so much for each byte, and so much beyond that.
  struct Limits {
    std::uint64_t freeBytes;
    std::uint64_t bytesPerByte;
    std::uint64_t freeSteps;
    std::uint64_t stepsPerByte;
  };

  ReadingCost();

  std::uint64_t steps() const;
  // The most bytes of the heap that were held at one time.
  std::uint64_t peak() const { return meter_.peak(); }

  // Ends the process with a line about `what` when reading `size` bytes has cost too much. With
  // KELPIE_FUZZ_COSTS in the environment, a line is printed in any case: `what`, the size, the peak
  // and the steps.
  void check(std::string_view what, std::size_t size, const Limits& limits) const;

 private:
  std::uint64_t before_;
  AllocationMeter meter_;
};

}  // namespace kelpie
