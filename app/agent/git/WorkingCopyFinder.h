#pragma once

#include <optional>
#include <string>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// Where a working copy is. Paths are absolute bytes, without a trailing slash, as git resolved
// them.
struct WorkingCopy {
  std::string root;             // the working folder; the git directory itself for a bare one
  std::string gitDirectory;     // of a linked working tree or a submodule: its own
  std::string commonDirectory;  // where references and configuration are, usually the same
  bool bare = false;

  friend bool operator==(const WorkingCopy&, const WorkingCopy&) = default;
};

// Finds the working copy that holds a folder. Any thread; blocks while git answers.
class WorkingCopyFinder {
 public:
  // `git` may be that of any folder.
  explicit WorkingCopyFinder(GitCommand git) : git_(std::move(git)) {}

  struct Finding {
    std::optional<WorkingCopy> workingCopy;
    // Why git would not work with the working copy that is there; empty when there is none.
    std::string failure;
  };
  Finding find(const std::string& folder) const;

  // The nearest folder, from `folder` upwards, that has a ".git" or looks like a bare repository;
  // missing when git would find nothing either. Asks the file system only, so that a thousand
  // folders outside every repository start no git.
  static std::optional<std::string> candidate(const std::string& folder);

 private:
  Finding findFrom(const std::string& folder, bool insideGitDirectory) const;

  GitCommand git_;
};

}  // namespace kelpie::agent
