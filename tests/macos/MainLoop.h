#pragma once

#include <functional>

namespace kelpie {

// Runs the main loop until the condition holds; false when it does not within a generous limit.
// Main thread.
bool runUntil(const std::function<bool()>& condition);

// Runs the main loop until what was posted to the main thread before has run.
void drainMainQueue();

}  // namespace kelpie
