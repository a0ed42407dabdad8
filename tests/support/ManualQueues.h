#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/SerialQueue.h"
#include "support/EventLog.h"
#include "support/ManualQueue.h"

namespace kelpie {

// All queues of a process, drained by hand. They outlive those who let go of them, as the contract
// asks. Writes "queues.make LABEL".
class ManualQueues final : public SerialQueues {
 public:
  explicit ManualQueues(EventLog& events);
  // Drops the tasks that never ran: they may hold what holds their queue.
  ~ManualQueues() override;
  ManualQueues(const ManualQueues&) = delete;
  ManualQueues& operator=(const ManualQueues&) = delete;

  ManualQueue& main() { return *main_; }
  // The queues that bear the label, in the order of their making.
  std::vector<ManualQueue*> withLabel(std::string_view label) const;
  // Tasks that wait, of all queues.
  std::size_t pending() const;
  // Runs the oldest task of all queues, again and again until nothing is left; fails the test
  // after a million.
  void runAll();

  std::shared_ptr<SerialQueue> mainQueue() override { return main_; }
  std::shared_ptr<SerialQueue> makeQueue(std::string_view label) override;

 private:
  std::vector<std::shared_ptr<ManualQueue>> all() const;

  EventLog& events_;
  std::atomic<std::uint64_t> order_ = 0;
  std::shared_ptr<ManualQueue> main_;
  mutable Mutex mutex_;
  std::vector<std::shared_ptr<ManualQueue>> queues_ KELPIE_GUARDED_BY(mutex_);  // main_ comes first
};

}  // namespace kelpie
