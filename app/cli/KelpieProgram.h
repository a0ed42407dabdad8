#pragma once

#include <string>
#include <vector>

#include "cli/output/Context.h"

namespace kelpie::cli {

// The whole of `kelpie`: finds the command that the words name and runs it. Main thread.
class KelpieProgram {
 public:
  explicit KelpieProgram(Context& context) : context_(context) {}

  // `words` are the arguments without the name of the program. The exit status.
  int run(const std::vector<std::string>& words);

 private:
  int runCommand(const std::vector<std::string>& words);
  int refuse(const std::string& line);

  Context& context_;
};

}  // namespace kelpie::cli
