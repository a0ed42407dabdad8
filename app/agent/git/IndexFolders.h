#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// The folders of a working copy that hold tracked files. Any thread, but one call at a time.
class IndexFolders {
 public:
  IndexFolders(const GitCommand& git, const WorkingCopy& workingCopy)
      : git_(git.in(workingCopy.root)),
        root_(workingCopy.root),
        index_(workingCopy.gitDirectory + "/index") {}

  // Absolute, the working folder included, and without those inside more than 127 others. Absent
  // when the index is the same as at the last call, or cannot be read. Blocks while git answers.
  std::optional<std::vector<std::string>> readIfChanged(GCancellable* cancellable = nullptr);

 private:
  GitCommand git_;
  std::string root_;
  std::string index_;
  struct stat last_ = {};  // of the index, all 0 before the first reading
};

}  // namespace kelpie::agent
