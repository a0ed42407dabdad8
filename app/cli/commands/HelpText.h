#pragma once

#include <string>
#include <string_view>

#include "cli/commands/CommandTable.h"

namespace kelpie::cli {

// The texts that --help prints. ASCII. Any thread.
std::string generalHelp();
std::string commandHelp(const CommandInfo& command);
// "kelpie: COMMAND: PROBLEM; see: kelpie COMMAND --help", without the first word.
std::string usageLine(const CommandInfo& command, std::string_view problem);

}  // namespace kelpie::cli
