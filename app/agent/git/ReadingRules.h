#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kelpie::agent {

// What git is told on top of a question, so that the answer runs nothing that the repository names
// for itself. A value.
struct ReadingRules {
  // Not empty: git must not be asked at all, and this is why, for people.
  std::string refusal;
  // Settings in place of the repository's own: key as git prints it, value. Bytes.
  std::vector<std::pair<std::string, std::string>> settings = {{"core.fsmonitor", ""}};
  // The filter drivers among them, by name: what git says of changes in the files that they filter
  // is a guess.
  std::vector<std::string> filters;
  // Whether git may fetch the objects that a partial clone lacks, which runs what the configuration
  // says of the remote.
  bool mayFetch = false;
  // Whether the status may look into the working folders of submodules.
  bool mayEnterSubmodules = true;
};

}  // namespace kelpie::agent
