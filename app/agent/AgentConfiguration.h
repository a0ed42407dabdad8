#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kelpie::agent {

// What the user can set about the agent itself: `$XDG_CONFIG_HOME/kelpie/agent.conf`, a file of
// groups, keys and values.
struct AgentConfiguration {
  // [Git] Program: the path of git, or a name that is looked up on PATH.
  std::string gitProgram = "git";
  // [Folders] WorkingCopies: how many working copies have badges at a time although only the folder
  // that holds them is shown; 0 for none.
  std::size_t neighbours = 200;

  // `$XDG_CONFIG_HOME/kelpie/agent.conf`; below `~/.config` when that variable is missing, empty or
  // not an absolute path.
  static std::string file();
  // The settings in the file. A missing file or key leaves the values above; for a file that cannot
  // be read, a line in `problems` says why.
  static AgentConfiguration read(const std::string& file, std::vector<std::string>& problems);
};

}  // namespace kelpie::agent
