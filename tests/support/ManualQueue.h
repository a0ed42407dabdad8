#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "foundation/Mutex.h"
#include "platform/SerialQueue.h"

namespace kelpie {

// A queue whose tasks run when the test says so, on the test's thread. post() may come from any
// thread. `order` numbers the tasks of several queues in the order of their arrival.
class ManualQueue final : public SerialQueue {
 public:
  ManualQueue(std::string label, std::atomic<std::uint64_t>& order);

  const std::string& label() const { return label_; }
  std::size_t pending() const;
  // The number of the task that is next, absent when there is none.
  std::optional<std::uint64_t> nextOrder() const;
  // False when there is nothing to run.
  bool runOne();
  // Runs until nothing is left, what the tasks post included, and fails the test after a million.
  void runAll();
  // Drops the waiting tasks without running them.
  void dropAll();

  void post(std::function<void()> task) override;
  bool isCurrent() const override;

 private:
  struct Task {
    std::uint64_t order;
    std::function<void()> run;
  };

  std::string label_;
  std::atomic<std::uint64_t>& order_;
  mutable Mutex mutex_;
  std::deque<Task> tasks_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
