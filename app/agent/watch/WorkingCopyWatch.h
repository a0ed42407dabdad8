#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "agent/git/StatusSnapshot.h"
#include "agent/watch/ChangeRules.h"

namespace kelpie::agent {

// Tells when something in a working copy, or in what git keeps of it, has changed. Main thread.
class WorkingCopyWatch {
 public:
  struct Callbacks {
    // Something has changed; the status only at and below the path, which is relative to the root,
    // or anywhere when the path is empty.
    std::function<void(Change change, const std::string& path)> changed;
    // There are more folders than can be watched: said once. From then on, changes in some of
    // them go unseen.
    std::function<void()> limitReached;
  };

  virtual ~WorkingCopyWatch() = default;

  // After each status: watches the folders that have come into being or are ignored no more, and
  // lets go of those that are ignored now. The first call watches the whole working copy. Where the
  // user does not want to see untracked files, only `trackedFolders` (absolute; absent when they
  // are the same as before) are watched. When something was not watched before, it counts as
  // changed once more, since what happened to it until now went unseen.
  virtual void follow(const StatusSnapshot& status,
                      const std::optional<std::vector<std::string>>& trackedFolders) = 0;

  // After the references were read: watches the folders that git has made for new ones.
  virtual void followReferences() = 0;

  // Whether it leaves half of the watches to others.
  virtual void setModest(bool modest) = 0;

  // Every folder that should be watched is, or will be once the walk under way has ended.
  virtual bool isComplete() const = 0;
};

}  // namespace kelpie::agent
