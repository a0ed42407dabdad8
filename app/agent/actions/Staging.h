#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "agent/actions/ActionOutcome.h"
#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// Puts files into the index and takes them out again, in time proportional to their number: git
// itself matches each given path against every file. Any thread; blocks while git works.
class Staging {
 public:
  // `git` runs in the root of the working copy, to which all paths are relative.
  explicit Staging(const GitCommand& git) : git_(git) {}

  // As `git add --all` does: new, changed and deleted files, folders with all that is in them.
  // Refuses ignored files and paths where nothing exists, and does nothing then.
  ActionOutcome stage(const std::vector<std::string>& paths) const;
  // As `git reset` does: the index gets the last commit's entries for these paths and below them.
  ActionOutcome unstage(const std::vector<std::string>& paths) const;

  // Up to this number paths are given to git as they are.
  static constexpr std::size_t kFewPaths = 100;

 private:
  ActionOutcome stageFiles(const std::vector<std::string>& files) const;
  ActionOutcome refuseStrangers(const std::vector<std::string>& files) const;
  bool isSparse() const;
  // Runs a command of the index on the paths, and waits for another git that has its lock.
  ActionOutcome change(const Arguments& arguments, const std::vector<std::string>& paths) const;

  const GitCommand& git_;
};

}  // namespace kelpie::agent
