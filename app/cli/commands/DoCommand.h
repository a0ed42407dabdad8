#pragma once

#include <string_view>
#include <vector>

#include "cli/commands/Arguments.h"
#include "cli/link/MenuPath.h"
#include "cli/output/Context.h"

namespace kelpie::cli {

// `kelpie do`: carries out an item of a menu. Main thread.
class DoCommand {
 public:
  DoCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console), context_(context) {}

  int run();

 private:
  // Complains and lists the items that TITLE could name. The exit status.
  int list(std::string_view complaint, const std::vector<MenuPath::Match>& choices);

  const Arguments& arguments_;
  Console& console_;
  Context& context_;
};

}  // namespace kelpie::cli
