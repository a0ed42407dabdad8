#include "agent/sessions/SessionParts.h"

#include <string_view>
#include <utility>

#include "agent/sessions/RepositoryReadings.h"
#include "agent/sessions/RepositorySession.h"
#include "agent/watch/RepositoryWatch.h"

namespace kelpie::agent {

SessionParts partsWithGit(const SessionServices& services, const WorkingCopy& workingCopy,
                          const std::shared_ptr<const RepositoryMessages>& messages,
                          WorkingCopyWatch::Callbacks callbacks) {
  const auto context = [&](std::string_view label) {
    return ReadingContext{workingCopy,    services.git,          messages,
                          services.files, services.loop.queue(), services.queues.makeQueue(label)};
  };
  return {std::make_shared<GitStatusReadings>(context("org.kelpie.Kelpie.StatusQueue")),
          std::make_shared<GitReferencesReadings>(context("org.kelpie.Kelpie.ReferencesQueue")),
          std::make_unique<RepositoryWatch>(
              services.watcher, workingCopy, services.loop.queue(),
              services.queues.makeQueue("org.kelpie.Kelpie.WatchQueue"), std::move(callbacks))};
}

}  // namespace kelpie::agent
