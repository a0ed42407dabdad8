#pragma once

#include <functional>

#include "agent/watch/DirectoryWatcher.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {

// Delivers what a watcher has seen, and runs what waits on the queues, until `done` holds. False
// when that takes more than ten seconds. There are no pauses: it waits for the watcher's
// descriptor.
bool pumpUntil(DirectoryWatcher& watcher, ManualQueues& queues, const std::function<bool()>& done);

// Delivers what has been seen so far.
void pumpAll(DirectoryWatcher& watcher, ManualQueues& queues);

}  // namespace kelpie::agent
