#pragma once

#include <string_view>

namespace kelpie {

// What a program that runs in the background answers to its first argument: "--version" prints
// KELPIE_VERSION and nothing else, "--help" prints `help`; of anything else it says on standard
// error that `program` does not know it. The exit status: 2 for an unknown argument, 1 when the
// answer could not be written.
int answerProgramArgument(std::string_view argument, std::string_view program,
                          std::string_view help);

}  // namespace kelpie
