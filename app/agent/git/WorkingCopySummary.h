#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// A summary of a working copy for one line, and the changes in it. A value; names and paths are
// bytes.
struct WorkingCopySummary {
  struct Distance {
    std::uint64_t ahead = 0;  // commits that the upstream does not have
    std::uint64_t behind = 0;
  };
  struct Change {
    std::string path;  // relative to the root
    bool isDeleted = false;
  };
  // At most so many changes are listed.
  static constexpr std::size_t kMostChanges = 100'000;

  std::string root;
  std::string branch;    // short name; empty for a detached HEAD
  std::string upstream;  // short name; empty when there is none
  std::string commit;    // abbreviated; empty before the first one
  bool isDetached = false;
  std::optional<Distance> distance;  // absent without an upstream
  std::string operation;             // that is under way, such as "merge"; empty for none
  bool hasReferences = false;        // whether the menus have them already
  std::vector<Change> changes;       // in git's order, without what is ignored

  // Asks git, and blocks while it answers; any thread. `git` may be that of any folder, `status`
  // null when it is not known.
  static WorkingCopySummary read(const GitCommand& git, const WorkingCopy& workingCopy,
                                 const StatusSnapshot* status);
};

}  // namespace kelpie::agent
