#pragma once

#include <chrono>
#include <string_view>
#include <vector>

#include "cli/commands/Arguments.h"
#include "cli/link/AgentClient.h"
#include "cli/link/MenuPath.h"
#include "cli/output/Context.h"

namespace kelpie::cli {

class ActionWait;
class MenuRequest;

// `kelpie do`: carries out an item of a menu and tells how that ended. Main thread.
class DoCommand {
 public:
  DoCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console), context_(context) {}

  int run();

 private:
  void awaitItem(MenuRequest& menu, const MenuPath& wanted);
  // Each returns the exit status.
  int choose(MenuRequest& menu, const MenuPath::Match& match);
  int outcomeOf(ActionWait& wait, std::chrono::milliseconds limit);
  int tell(const AgentClient::Action& action);
  // Complains and lists the items that TITLE could name. The exit status.
  int list(std::string_view complaint, const std::vector<MenuPath::Match>& choices);

  const Arguments& arguments_;
  Console& console_;
  Context& context_;
};

}  // namespace kelpie::cli
