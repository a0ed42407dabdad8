#include "cli/KelpieProgram.h"

#include <ostream>

#include "Configuration.h"
#include "cli/commands/Arguments.h"
#include "cli/commands/CommandTable.h"
#include "cli/commands/HelpText.h"

namespace kelpie::cli {

int KelpieProgram::run(const std::vector<std::string>& words) {
  std::ostream& out = context_.console.out();
  if (words.empty()) return refuse("it takes a command; see: kelpie --help");
  int status = kSuccess;
  if (words.front() == "--help" || words.front() == "-h")
    out << generalHelp();
  else if (words.front() == "--version")
    out << kVersion << '\n';
  else
    status = runCommand(words);
  out.flush();
  if (out.good()) return status;
  context_.console.complain("cannot write to standard output");
  return kFailure;
}

int KelpieProgram::runCommand(const std::vector<std::string>& words) {
  Console& console = context_.console;
  const CommandInfo* command = findCommand(words.front());
  if (command == nullptr)
    return refuse("there is no command \"" + words.front() + "\"; see: kelpie --help");
  const Arguments::Parsed parsed = Arguments::parse(*command, {words.begin() + 1, words.end()});
  if (parsed.wantsHelp) {
    console.out() << commandHelp(*command);
    return kSuccess;
  }
  if (parsed.problem) return refuse(usageLine(*command, *parsed.problem));
  console.setColour(parsed.arguments.colour());
  return command->run(parsed.arguments, context_);
}

int KelpieProgram::refuse(const std::string& line) {
  context_.console.complain(context_.console.printable(line));
  return kUsage;
}

}  // namespace kelpie::cli
