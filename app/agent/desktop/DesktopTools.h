#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// Which of the programs that open windows are installed. Any thread; may ask git.
class DesktopTools {
 public:
  DesktopTools() = delete;

  // Why the command (a program and its arguments) cannot be started here, for people, with the
  // package that provides it; absent when it can be started. `git` is asked about its settings and
  // runs in the folder that they are for.
  static std::optional<std::string> lackOf(const std::vector<std::string>& command,
                                           const GitCommand& git);
  // The command that opens a terminal and runs what is appended to it; absent when there is none.
  static std::optional<std::vector<std::string>> terminal();
  // What a terminal runs to show what a command prints: it stays until the user has read that.
  static std::vector<std::string> shownInTerminal(const std::vector<std::string>& terminal,
                                                  const std::string& folder,
                                                  const std::vector<std::string>& command);
};

}  // namespace kelpie::agent
