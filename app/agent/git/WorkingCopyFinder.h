#pragma once

#include <optional>
#include <string>

#include "agent/git/GitCommand.h"
#include "agent/git/WorkingCopy.h"

namespace kelpie::agent {

// Finds the working copy that holds a folder. A folder whose ".git" leads to a repository that has
// its work tree elsewhere is in none: actions there would change other files than those that are
// shown. Any thread; blocks while git answers, and runs no program of the repository's.
class WorkingCopyFinder {
 public:
  // `git` may be that of any folder.
  explicit WorkingCopyFinder(const GitCommand& git) : git_(git.unguarded()) {}

  struct Finding {
    std::optional<WorkingCopy> workingCopy;
    // Why the working copy found cannot be used: in git's words, or because its work tree is
    // elsewhere. Empty when there is no such reason.
    std::string failure;
    // The failure is that its work tree is elsewhere.
    bool isElsewhere = false;
  };
  Finding find(const std::string& folder) const;

  // The nearest folder, from `folder` upwards, that has a ".git" or looks like a bare repository;
  // absent when git would find nothing either. Asks the file system only, so that a thousand
  // folders outside every repository start no git.
  static std::optional<std::string> candidate(const std::string& folder);
  // Why no git should be run in the working copy with that root, for people; empty when it may be.
  // It would wait for a pipe that stands where git's first files are. Asks the file system only.
  static std::string hindrance(const std::string& root);

 private:
  Finding findFrom(const std::string& folder, bool insideGitDirectory) const;

  GitCommand git_;
};

}  // namespace kelpie::agent
