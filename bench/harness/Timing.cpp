#include "harness/Timing.h"

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace kelpie {

double milliseconds() {
  return 1000.0 * static_cast<double>(std::clock()) / static_cast<double>(CLOCKS_PER_SEC);
}

double median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

}  // namespace kelpie
