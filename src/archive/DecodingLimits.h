#pragma once

#include <cstddef>
#include <cstdint>

#include "archive/ReadingBudget.h"

namespace kelpie {

// What one reading of a property list or an archive, and of the archives inside it, may cost.
struct DecodingLimits {
  // Objects that stand inside one another, those of nested archives included.
  static constexpr int kMaximumDepth = 256;

  // How many comparisons of keys the dictionaries of so many bytes may take. Keys are compared only
  // where their hashes are equal, which in an honest archive they hardly ever are.
  static constexpr std::uint64_t comparisons(std::size_t byteCount) {
    return 65536 + byteCount / 8;
  }

  // Borrows the budget, which others may draw from as well.
  explicit DecodingLimits(ReadingBudget& readingBudget) : budget(readingBudget) {}

  ReadingBudget& budget;
  int nesting = 1;  // archives inside one another, the one being read included
  int depth = 0;    // objects inside one another, the one being made included
};

}  // namespace kelpie
