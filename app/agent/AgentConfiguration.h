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
  // [Folders] WorkingCopies: of the working copies that lie directly in a folder that is shown, and
  // are not shown themselves, so many have badges at a time; none at 0.
  std::size_t neighbours = 200;

  // `$XDG_CONFIG_HOME/kelpie/agent.conf`; below `~/.config` when that variable is missing, empty or
  // no absolute path.
  static std::string file();
  // What the file says. A missing file, or a key that is not there, leaves what stands above; of a
  // file that cannot be read, a line in `problems` says why.
  static AgentConfiguration read(const std::string& file, std::vector<std::string>& problems);
};

}  // namespace kelpie::agent
