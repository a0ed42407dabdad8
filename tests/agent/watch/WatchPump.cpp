#include "agent/watch/WatchPump.h"

#include <poll.h>

#include <chrono>

namespace kelpie::agent {
namespace {

bool deliverOnce(DirectoryWatcher& watcher, int milliseconds) {
  pollfd wait{watcher.descriptor(), POLLIN, 0};
  if (poll(&wait, 1, milliseconds) != 1) return false;
  watcher.dispatch();
  return true;
}

}  // namespace

bool pumpUntil(DirectoryWatcher& watcher, ManualQueues& queues, const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (;;) {
    queues.runAll();
    if (done()) return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
    deliverOnce(watcher, 100);
  }
}

void pumpAll(DirectoryWatcher& watcher, ManualQueues& queues) {
  do {
    queues.runAll();
  } while (deliverOnce(watcher, 0));
  queues.runAll();
}

}  // namespace kelpie::agent
