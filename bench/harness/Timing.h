#pragma once

#include <vector>

namespace kelpie {

// Processor time of this process in milliseconds, the kernel's included: a round that other
// processes interrupt counts for what it did itself.
double milliseconds();

// Of at least one time.
double median(std::vector<double> times);

}  // namespace kelpie
