#pragma once

#include <string>

#include "cli/commands/Arguments.h"
#include "cli/output/Context.h"
#include "cli/settings/SettingsSnapshot.h"

namespace kelpie::cli {

// `kelpie trust`: the repositories whose own programs git may run when they are looked at. Main
// thread.
class TrustCommand {
 public:
  TrustCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console) {}

  int run();

 private:
  int list();
  // Adds or removes the operands, all of them in one step.
  int change();
  // Complains and returns false when the folder is not a repository's.
  bool isRepository(const std::string& path);

  const Arguments& arguments_;
  Console& console_;
};

}  // namespace kelpie::cli
