#include "cli/commands/CompletionCommand.h"

#include <ostream>
#include <string_view>

#include "cli/commands/CompletionScript.h"

namespace kelpie::cli {

int CompletionCommand::run() {
  const std::string_view shell = arguments_.verb();
  if (shell == "bash")
    console_.out() << CompletionScript::bash();
  else if (shell == "zsh")
    console_.out() << CompletionScript::zsh();
  else
    console_.out() << CompletionScript::fish();
  return kSuccess;
}

}  // namespace kelpie::cli
