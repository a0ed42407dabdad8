#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent/actions/IncomingFiles.h"
#include "agent/actions/SafeReplacement.h"
#include "agent/git/GitCommand.h"
#include "agent/git/StatusParser.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// Plans to go back to the last commit, in a working copy and in its submodules. Blocks while git
// answers; one thread.
class DiscardPlanner {
 public:
  // Whether untracked files of submodules are part of the plan, too.
  enum class InSubmodules { TrackedOnly, Untracked };
  // `git` may be that of any folder, and outlives this.
  explicit DiscardPlanner(const GitCommand& git, InSubmodules what = InSubmodules::TrackedOnly)
      : git_(git), what_(what) {}

  // Adds the changes at or below the paths `within`, relative to the root. False when git fails to
  // tell something.
  bool plan(const WorkingCopy& workingCopy, const std::vector<std::string>& within);
  // The same of everything in a submodule.
  bool planSubmodule(const WorkingCopy& workingCopy) { return plan(workingCopy, {"."}, 1, {}); }
  SafeReplacement::Sites take() && { return std::move(sites_); }

 private:
  // With the commit that a submodule goes back to; empty when it stays at its own.
  bool plan(const WorkingCopy& workingCopy, const std::vector<std::string>& within, int depth,
            const std::string& commit);
  static void add(SafeReplacement::Site& site, const StatusItem& item, WorkingFiles& files);
  bool addIgnored(SafeReplacement::Site& site, const std::string& commit,
                  IncomingFiles::Entries& incoming) const;
  bool planSubmodules(const SafeReplacement::Site& site, const IncomingFiles::Entries& incoming,
                      int depth);

  const GitCommand& git_;
  InSubmodules what_;
  SafeReplacement::Sites sites_;
};

}  // namespace kelpie::agent
