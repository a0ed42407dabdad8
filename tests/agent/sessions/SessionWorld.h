#pragma once

#include <memory>
#include <utility>

#include "agent/FakeNotifier.h"
#include "agent/VirtualLoop.h"
#include "agent/sessions/ReadingSlots.h"
#include "agent/sessions/RepositorySession.h"
#include "agent/sessions/SessionParts.h"
#include "agent/watch/DirectoryWatcher.h"
#include "support/EventLog.h"
#include "support/FakeFileSystem.h"
#include "support/FakeLog.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {

// What a session stands on when it is run without git, without files and without time passing; for
// tests to derive from. One thread.
class SessionWorld {
 protected:
  SessionServices services(std::shared_ptr<ReadingSlots> slots, SessionPartsMaker makeParts) {
    return {.loop = loop_,
            .queues = queues_,
            .watcher = watcher_,
            .names = watcher_,
            .files = *files_,
            .notifier = notifier_,
            .git = GitCommand("none", "/"),
            .slots = std::move(slots),
            .makeParts = std::move(makeParts)};
  }

  EventLog events_;
  ManualQueues queues_{events_};
  FakeLog log_{events_};
  VirtualLoop loop_{queues_, log_};
  std::shared_ptr<FakeFileSystem> files_ = std::make_shared<FakeFileSystem>(events_);
  FakeNotifier notifier_;
  DirectoryWatcher watcher_{1};  // nothing is watched with it
};

}  // namespace kelpie::agent
