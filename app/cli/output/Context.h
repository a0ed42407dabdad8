#pragma once

#include "cli/output/Console.h"

namespace kelpie::cli {

// How a command ends; what `kelpie` hands to the shell.
inline constexpr int kSuccess = 0;
inline constexpr int kFailure = 1;  // something asked for could not be had; a line said what
inline constexpr int kUsage = 2;    // the command line was wrong, or a title names no single item
inline constexpr int kUnknown = 3;  // it was begun; how it ends is not known

// What a command may use of the process. Main thread.
struct Context {
  Console& console;
};

}  // namespace kelpie::cli
