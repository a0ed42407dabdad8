#pragma once

#include "cli/commands/Arguments.h"
#include "cli/output/Context.h"

namespace kelpie::cli {

// `kelpie actions`: the actions that have not ended. Main thread.
class ActionsCommand {
 public:
  ActionsCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console) {}

  int run();

 private:
  const Arguments& arguments_;
  Console& console_;
};

}  // namespace kelpie::cli
