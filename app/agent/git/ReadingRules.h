#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kelpie::agent {

// Additions to a question to git, so that the answer runs nothing that the repository names for
// itself. A value.
struct ReadingRules {
  // Why git must not be asked at all, for people; empty when it may be asked.
  std::string refusal;
  // Settings in place of the repository's own: key as git prints it, value. Bytes.
  std::vector<std::pair<std::string, std::string>> settings = {{"core.fsmonitor", ""}};
  // The filter drivers among them, by name: git then only guesses which of the filtered files have
  // changed.
  std::vector<std::string> filters;
  // Whether git may fetch the objects that a partial clone lacks, which runs what the configuration
  // says of the remote.
  bool mayFetch = false;
  // Whether the status may look into the working folders of submodules.
  bool mayEnterSubmodules = true;

  friend bool operator==(const ReadingRules&, const ReadingRules&) = default;
};

}  // namespace kelpie::agent
