#pragma once

#include <string_view>

namespace kelpie {

// Handles the first argument of a program that runs in the background: "--version" prints
// KELPIE_VERSION and nothing else, "--help" prints `help`; anything else is reported on standard
// error as unknown to `program`. Returns the exit status: 2 for an unknown argument, 1 when the
// answer could not be written.
int answerProgramArgument(std::string_view argument, std::string_view program,
                          std::string_view help);

}  // namespace kelpie
