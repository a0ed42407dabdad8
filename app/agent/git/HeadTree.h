#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// The paths that the last commit has. A value; any thread.
class HeadTree {
 public:
  // Without a commit it is empty. Missing when git does not tell. Blocks while git answers; `git`
  // runs in the root.
  static std::optional<HeadTree> read(const GitCommand& git);

  // Paths are relative to the root.
  bool has(const std::string& path) const { return entries_.contains(path); }
  bool isSubmodule(const std::string& path) const;

 private:
  std::unordered_map<std::string, bool> entries_;  // whether it is a submodule
};

}  // namespace kelpie::agent
