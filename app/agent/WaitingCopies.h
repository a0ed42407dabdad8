#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "foundation/ThreadBound.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/ProcessMonitor.h"

namespace kelpie::agent {

// The copies of this application that wait for the one that works to end. An extension that looks
// for the application while several copies run uses none of them, and does not look again by
// itself: it has to be told when a copy that waited has ended. Main thread.
class WaitingCopies {
 public:
  // Listens from now on. `ended` is called for each copy that waited and has ended; `own` is the
  // process id of this copy. All outlive this.
  WaitingCopies(DistributedNotificationCenter& notifications, ProcessMonitors& monitors,
                std::int32_t own, std::function<void()> ended);
  ~WaitingCopies();
  WaitingCopies(const WaitingCopies&) = delete;
  WaitingCopies& operator=(const WaitingCopies&) = delete;

  // Tells the others that this copy waits.
  void sayWaiting();

  std::size_t count() const { return copies_.size(); }

  // More are not watched.
  static constexpr std::size_t kMaximum = 64;

 private:
  void waiting(const std::string& text);

  DistributedNotificationCenter& notifications_;
  ProcessMonitors& monitors_;
  const std::int32_t own_;
  std::function<void()> ended_;
  std::map<std::int32_t, std::shared_ptr<ProcessMonitor>> copies_;
  std::unique_ptr<NotificationObservation> observation_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
