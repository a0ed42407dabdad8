#pragma once

#include <functional>
#include <memory>

#include "agent/git/WorkingCopyFinder.h"
#include "agent/link/RepositoryMessages.h"
#include "agent/sessions/SessionReadings.h"
#include "agent/watch/WorkingCopyWatch.h"

namespace kelpie::agent {

struct SessionServices;

// What a session learns of its working copy with. The readings outlive the session that has
// cancelled them.
struct SessionParts {
  std::shared_ptr<StatusReadings> status;
  std::shared_ptr<ReferencesReadings> references;
  std::unique_ptr<WorkingCopyWatch> watch;
};

// Makes the parts of one session. Main thread.
using SessionPartsMaker =
    std::function<SessionParts(const SessionServices& services, const WorkingCopy& workingCopy,
                               const std::shared_ptr<const RepositoryMessages>& messages,
                               WorkingCopyWatch::Callbacks callbacks)>;

// With git, which works on queues of its own, and with the system's watch.
SessionParts partsWithGit(const SessionServices& services, const WorkingCopy& workingCopy,
                          const std::shared_ptr<const RepositoryMessages>& messages,
                          WorkingCopyWatch::Callbacks callbacks);

}  // namespace kelpie::agent
