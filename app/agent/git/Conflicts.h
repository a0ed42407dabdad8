#pragma once

#include <map>
#include <string>
#include <vector>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// The conflicts of a working copy, and which versions each has: 1 of the common ancestor, 2 ours,
// 3 theirs. A value; any thread.
class Conflicts {
 public:
  // Those that the paths (relative to the root) name or hold. Empty when git does not tell. Blocks
  // while git answers; `git` runs in the root.
  static Conflicts read(const GitCommand& git, const std::vector<std::string>& within);

  std::vector<std::string> paths() const;
  bool has(const std::string& path, int stage) const;
  std::vector<std::string> withStage(int stage) const { return withStages(stage, stage); }
  std::vector<std::string> withStages(int one, int other) const;
  std::vector<std::string> withoutStage(int stage) const;
  bool hasSubmodule() const { return hasSubmodule_; }

 private:
  std::map<std::string, unsigned> stages_;  // bit 1, 2 and 3
  bool hasSubmodule_ = false;
};

}  // namespace kelpie::agent
