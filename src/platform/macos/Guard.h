#pragma once

#include <string_view>

#include "foundation/FunctionRef.h"

namespace kelpie {

// Where the core is called from Objective-C: C++ exceptions must not pass through it. Compiled as
// plain C++, since not every Objective-C runtime can catch them.

// Runs one task or event. An exception of the core (std::invalid_argument for a dictionary that was
// to hold an absent value) or of the platform costs that task only: it is logged as one line. Any
// thread.
void runGuarded(FunctionRef<void()> task) noexcept;

// The same for a question; false when something was raised.
bool answerGuarded(FunctionRef<bool()> question) noexcept;

}  // namespace kelpie
