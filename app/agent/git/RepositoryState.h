#pragma once

#include <cstdint>
#include <string>

namespace kelpie::agent {

// The operation that a repository is in the middle of. The numbers are those that the extension is
// sent as "KPRepositoryState"; 0 is the normal state.
enum class RepositoryState : std::int64_t {
  None = 0,
  Merge = 1,
  Revert = 2,
  RevertSequence = 3,
  CherryPick = 4,
  CherryPickSequence = 5,
  Bisect = 6,
  Rebase = 7,
  RebaseInteractive = 8,
  RebaseMerge = 9,
  ApplyMailbox = 10,
  ApplyMailboxOrRebase = 11,
};

// Found by the files that git keeps in the git directory (a linked working tree's own) while an
// operation is under way. Any thread.
RepositoryState repositoryState(const std::string& gitDirectory);

}  // namespace kelpie::agent
