#pragma once

#include <string>

#include "cli/commands/Arguments.h"
#include "cli/output/Context.h"
#include "cli/settings/SettingsSnapshot.h"

namespace kelpie::cli {

// `kelpie folders`: the observed folders. Main thread.
class FoldersCommand {
 public:
  FoldersCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console) {}

  int run();

 private:
  int list();
  // Adds or removes the operands, all of them in one step.
  int change();
  // Each applies one operand; complains and returns false when that fails.
  bool add(SettingsSnapshot& settings, const std::string& operand);
  bool remove(SettingsSnapshot& settings, const std::string& operand);

  const Arguments& arguments_;
  Console& console_;
};

}  // namespace kelpie::cli
