#pragma once

#include "cli/commands/Arguments.h"
#include "cli/output/Context.h"

namespace kelpie::cli {

// `kelpie undo`: has the main application bring back what its last action put aside. Main thread.
class UndoCommand {
 public:
  UndoCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console) {}

  // Becomes that program, whose exit status is then this one's; comes back only when it cannot.
  int run();

 private:
  const Arguments& arguments_;
  Console& console_;
};

}  // namespace kelpie::cli
