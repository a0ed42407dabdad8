#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent/git/ScopedConfig.h"

namespace kelpie::agent {

// The programs that a repository's own configuration makes git run for a question, and the settings
// that switch them off. A value.
struct OwnPrograms {
  static OwnPrograms of(const ScopedConfig& config);

  // Settings that put the user's own programs, or none, in the place of the repository's: key,
  // value. Bytes.
  std::vector<std::pair<std::string, std::string>> settings;
  // The filter drivers that are switched off by them.
  std::vector<std::string> filters;
  // The programs that would be run otherwise, a line each, such as "filter.x.clean: /bin/x". Bytes.
  std::vector<std::string> programs;
  // Whether git would fetch missing objects from a remote.
  bool isPartialClone = false;
};

}  // namespace kelpie::agent
