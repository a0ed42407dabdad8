#pragma once

#include <string_view>
#include <thread>
#include <vector>

#include "foundation/ConditionVariable.h"
#include "foundation/URL.h"
#include "platform/FinderSyncController.h"

namespace kelpie {

// Hands the badges of one repository to the file manager, until it is stopped: no badge comes after
// that, whatever is going on on other threads. Any thread.
class BadgeSetter {
 public:
  // `finder` outlives this.
  explicit BadgeSetter(FinderSyncController& finder) : finder_(finder) {}
  BadgeSetter(const BadgeSetter&) = delete;
  BadgeSetter& operator=(const BadgeSetter&) = delete;

  // Does nothing once it is stopped. No lock is held while the file manager is called.
  void set(std::string_view badge, const URL& url);
  // Waits for the badges that other threads are about to set, one each.
  void stop();
  bool isStopped() const;

 private:
  FinderSyncController& finder_;
  mutable Mutex mutex_;
  ConditionVariable changed_;
  bool stopped_ KELPIE_GUARDED_BY(mutex_) = false;
  // The threads that are setting a badge.
  std::vector<std::thread::id> setting_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
